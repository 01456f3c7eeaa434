#pragma once

#include <vector>

#include "app/controller/keyed_list_model.h"
#include "model/virtual_device_config.h"

namespace brindlemux {

/// The virtual devices as rows for views, in the driver's order, keyed by UID.
///
/// Threads: the main thread.
// The full name of the base, as the tools for QML look it up.
class VirtualDeviceListModel : public brindlemux::KeyedListModel {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The controller has it")

 public:
  enum Role { uidRole = firstRole, nameRole, channelsRole };
  Q_ENUM(Role)

  explicit VirtualDeviceListModel(QObject* parent = nullptr);

  void assign(const std::vector<VirtualDeviceConfig>& devices);
};

}  // namespace brindlemux
