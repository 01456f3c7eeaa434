#include "app/controller/virtual_device_list_model.h"

#include <algorithm>
#include <iterator>

namespace brindlemux {
namespace {

int rowNumber(std::size_t row) { return static_cast<int>(row); }

auto withUID(const std::string& uid) {
  return [&uid](const VirtualDeviceConfig& device) { return device.uid == uid; };
}

}  // namespace

void VirtualDeviceListModel::assign(const std::vector<VirtualDeviceConfig>& devices) {
  removeRowsNotIn(devices);
  for (std::size_t row = 0; row < devices.size(); ++row) {
    place(row, devices[row]);
    update(row, devices[row]);
  }
  // Rows are left over only where a UID stood more than once.
  removeTail(devices.size());
}

void VirtualDeviceListModel::removeRowsNotIn(const std::vector<VirtualDeviceConfig>& devices) {
  for (std::size_t row = rows_.size(); row-- > 0;) {
    if (std::ranges::any_of(devices, withUID(rows_[row].uid))) continue;
    beginRemoveRows({}, rowNumber(row), rowNumber(row));
    rows_.erase(std::next(rows_.begin(), rowNumber(row)));
    endRemoveRows();
  }
}

void VirtualDeviceListModel::removeTail(std::size_t count) {
  if (rows_.size() <= count) return;
  beginRemoveRows({}, rowNumber(count), rowNumber(rows_.size() - 1));
  rows_.resize(count);
  endRemoveRows();
}

void VirtualDeviceListModel::place(std::size_t row, const VirtualDeviceConfig& device) {
  const auto target = std::next(rows_.begin(), rowNumber(row));
  const auto found = std::find_if(target, rows_.end(), withUID(device.uid));
  if (found == rows_.end()) {
    beginInsertRows({}, rowNumber(row), rowNumber(row));
    rows_.insert(target, device);
    endInsertRows();
  } else if (found != target) {
    const auto source = static_cast<int>(std::distance(rows_.begin(), found));
    beginMoveRows({}, source, source, {}, rowNumber(row));
    std::rotate(target, found, std::next(found));
    endMoveRows();
  }
}

void VirtualDeviceListModel::update(std::size_t row, const VirtualDeviceConfig& device) {
  QList<int> roles;
  if (rows_[row].name != device.name) roles.append(nameRole);
  if (rows_[row].channels != device.channels) roles.append(channelsRole);
  if (roles.isEmpty()) return;
  rows_[row] = device;
  const QModelIndex changed = index(rowNumber(row));
  Q_EMIT dataChanged(changed, changed, roles);
}

int VirtualDeviceListModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : rowNumber(rows_.size());
}

QVariant VirtualDeviceListModel::data(const QModelIndex& index, int role) const {
  if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid)) return {};
  const VirtualDeviceConfig& device = rows_[static_cast<std::size_t>(index.row())];
  switch (role) {
    case uidRole:
      return QString::fromStdString(device.uid);
    case nameRole:
      return QString::fromStdString(device.name);
    case channelsRole:
      return static_cast<int>(device.channels);
    default:
      return {};
  }
}

QHash<int, QByteArray> VirtualDeviceListModel::roleNames() const {
  return {{uidRole, "uid"}, {nameRole, "name"}, {channelsRole, "channels"}};
}

}  // namespace brindlemux
