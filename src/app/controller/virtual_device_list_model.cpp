#include "app/controller/virtual_device_list_model.h"

namespace brindlemux {

VirtualDeviceListModel::VirtualDeviceListModel(QObject* parent) : KeyedListModel({"uid", "name", "channels"}, parent) {}

void VirtualDeviceListModel::assign(const std::vector<VirtualDeviceConfig>& devices) {
  QList<Row> rows;
  for (const VirtualDeviceConfig& device : devices) {
    rows.append(Row{QString::fromStdString(device.uid), QString::fromStdString(device.name),
                    static_cast<int>(device.channels)});
  }
  KeyedListModel::assign(rows);
}

}  // namespace brindlemux
