#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "engine/device_engine.h"
#include "histories/server_view.h"

namespace brindlemux::history {

/// One virtual device as the controller knows it.
struct Routing {
  std::string uid;
  /// What the driver's list says.
  std::int64_t channels = 2;
  DeviceGraph graph;
  /// None while the driver does not list the device.
  std::unique_ptr<DeviceEngine> engine;
  /// What the engine has made on the server and the server has not been told to release.
  Labels owned;
};

}  // namespace brindlemux::history
