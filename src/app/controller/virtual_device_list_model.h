#pragma once

#include <QAbstractListModel>
#include <QtQmlIntegration/qqmlintegration.h>
#include <vector>

#include "model/virtual_device_config.h"

namespace brindlemux {

/// The virtual devices as rows for views, in the driver's order. A row's key is the device's UID: a device that stays
/// keeps its row, whatever else of it or around it changes.
///
/// Threads: the main thread.
class VirtualDeviceListModel : public QAbstractListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The controller has it")

 public:
  enum Role { uidRole = Qt::UserRole + 1, nameRole, channelsRole };
  Q_ENUM(Role)

  using QAbstractListModel::QAbstractListModel;

  /// Turns the rows into these by removals, moves, insertions and changes in place; the model is never reset.
  void assign(const std::vector<VirtualDeviceConfig>& devices);

  int rowCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role) const override;
  QHash<int, QByteArray> roleNames() const override;

 private:
  void removeRowsNotIn(const std::vector<VirtualDeviceConfig>& devices);
  void removeTail(std::size_t count);
  /// Brings the row of `device` to `row`, from further down or as an insertion.
  void place(std::size_t row, const VirtualDeviceConfig& device);
  void update(std::size_t row, const VirtualDeviceConfig& device);

  std::vector<VirtualDeviceConfig> rows_;
};

}  // namespace brindlemux
