#pragma once

#include <QAbstractListModel>
#include <QByteArray>
#include <QList>
#include <QVariant>
#include <QtQmlIntegration/qqmlintegration.h>
#include <optional>

namespace brindlemux {

/// Rows for views, each of which has a key that stays its own: a row whose key stays keeps its place in memory, its
/// delegate and whatever a person is doing with it, whatever else of it or around it changes.
///
/// Shapes:  a row has one value per role; the first is its key. Role numbers count from `firstRole`.
/// Threads: the main thread.
class KeyedListModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("Controllers have them")

 public:
  using Row = QVariantList;
  static constexpr int firstRole = Qt::UserRole + 1;

  explicit KeyedListModel(QList<QByteArray> roles, QObject* parent = nullptr);

  /// Turns the rows into these by removals, moves, insertions and changes in place; the model is never reset.
  void assign(const QList<Row>& rows);
  /// Changes one value and says so, unless it is the same. Nothing happens outside the rows and roles.
  void setValue(int row, int role, const QVariant& value);

  const QList<Row>& rows() const noexcept { return rows_; }
  std::optional<int> rowOf(const QVariant& key) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 private:
  void removeRowsNotIn(const QList<Row>& rows);
  void removeTail(qsizetype count);
  /// Brings the row with this row's key to `place`, from further down or as an insertion.
  void bring(qsizetype place, const Row& row);
  void update(qsizetype place, const Row& row);

  const QList<QByteArray> roles_;
  QList<Row> rows_;
};

}  // namespace brindlemux
