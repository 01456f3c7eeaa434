#pragma once

#include <memory>
#include <optional>
#include <pipewire/impl.h>
#include <string>
#include <string_view>

#include "driver/device_list.h"
#include "driver/driver_property.h"
#include "driver/server_node.h"
#include "driver/session_manager_watch.h"

namespace brindlemux::driver {

/// All that the driver puts into the server: its property, its devices, and the clock of the scheduling group that the
/// program's own nodes belong to.
///
/// Threads: the server's main loop.
class DriverModule {
 public:
  /// Throws std::exception when the server cannot give what the driver needs.
  explicit DriverModule(pw_context& context);

 private:
  std::optional<std::string> write(std::string_view payload);

  std::unique_ptr<ServerNode> clock_;
  DeviceList devices_;
  SessionManagerWatch sessionManager_;
  DriverProperty property_;
};

}  // namespace brindlemux::driver
