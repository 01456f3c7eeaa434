#pragma once

#include <QAbstractListModel>
#include <QtQmlIntegration/qqmlintegration.h>

namespace brindlemux {

/// One row per channel, numbered from 0, with its label. A change of the count leaves the rows that stay alone.
///
/// Threads: the main thread.
class ChannelRows : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(int count READ count WRITE setCount NOTIFY countChanged FINAL)

 public:
  enum Role { channelRole = Qt::UserRole + 1, labelRole };

  using QAbstractListModel::QAbstractListModel;

  int count() const noexcept { return count_; }
  /// A negative count is none.
  void setCount(int count);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 Q_SIGNALS:
  void countChanged();

 private:
  int count_ = 0;
};

}  // namespace brindlemux
