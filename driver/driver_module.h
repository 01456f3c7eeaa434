#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <pipewire/impl.h>
#include <string>
#include <string_view>

#include "driver/background_saver.h"
#include "driver/device_file.h"
#include "driver/device_list.h"
#include "driver/driver_property.h"
#include "driver/loop_event.h"
#include "driver/server_node.h"
#include "driver/session_manager_watch.h"

namespace brindlemux::driver {

/// All that the driver puts into the server: its property, its devices, and the clock of the scheduling group that the
/// program's own nodes belong to. It begins with the devices of its file, and saves every list that is accepted.
///
/// Threads: the server's main loop.
class DriverModule {
 public:
  /// Throws std::exception when the server cannot give what the driver needs, or has a driver already.
  DriverModule(pw_context& context, std::filesystem::path devicesFile);

 private:
  void startClock(pw_context& context);
  std::string restore();
  std::optional<std::string> write(std::string_view payload);

  DeviceFile file_;
  BackgroundSaver saver_;
  LoopEvent clockLost_;
  std::unique_ptr<ServerNode> clock_;
  DeviceList devices_;
  SessionManagerWatch sessionManager_;
  DriverProperty property_;
};

}  // namespace brindlemux::driver
