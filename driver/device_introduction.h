#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <pipewire/impl.h>

#include "driver/published_device.h"

namespace brindlemux::driver {

/// Finds out when the session manager knows a device's nodes with their ports.
///
/// That is later than the ports are there: it is told of them, asks for each, and only then counts them among what a
/// stream can be linked to. Were another device of the same name taken away before, the session manager would elect
/// another default for a moment, and move to it every stream that follows the default. Borrows nothing between steps
/// but its place among the listeners of the session manager's connection. Threads: the server's main loop.
class DeviceIntroduction {
 public:
  DeviceIntroduction() = default;
  ~DeviceIntroduction() { forgetConnection(); }
  DeviceIntroduction(const DeviceIntroduction&) = delete;
  DeviceIntroduction& operator=(const DeviceIntroduction&) = delete;

  /// Goes on with it; returns whether it is over. The device is looped. A session manager that takes no interest in
  /// ports is not waited for longer than three seconds.
  bool step(pw_context& context, const PublishedDevice& device);

 private:
  static const pw_resource_events connectionEvents;
  static constexpr int noAnswer = -1;
  void ask(pw_resource& connection);
  void forgetConnection();

  std::optional<std::chrono::steady_clock::time_point> deadline_;
  pw_resource* connection_ = nullptr;
  spa_hook listener_ = {};
  int awaited_ = noAnswer;
  int answers_ = 0;
};

}  // namespace brindlemux::driver
