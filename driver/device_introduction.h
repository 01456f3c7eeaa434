#pragma once

#include <chrono>
#include <pipewire/impl.h>

#include "driver/published_device.h"

namespace brindlemux::driver {

/// Finds out when a client knows a device's nodes, which take the place of former ones.
///
/// That is later than they are there: the client is told of them, asks for each, and only then counts them among what
/// it has. Were the former nodes taken away before, the device would be missing for a moment: a program would stop what
/// it runs on it, and the session manager would elect another default and move every stream there that follows it.
/// Borrows nothing between steps but its place among the listeners of the client's connection. Threads: the server's
/// main loop.
class DeviceIntroduction {
 public:
  /// What of the new nodes the client has to ask for: all their ports too, or what it has asked for of the former ones.
  enum class Interest { everything, asBefore };

  explicit DeviceIntroduction(std::chrono::milliseconds patience);
  ~DeviceIntroduction() { forgetConnection(); }
  DeviceIntroduction(const DeviceIntroduction&) = delete;
  DeviceIntroduction& operator=(const DeviceIntroduction&) = delete;

  /// Goes on with it; returns whether it is over. The device is looped. A client that takes no interest, or does not
  /// answer, is waited for as long as `patience` lasts.
  bool step(pw_impl_client& client, Interest interest, const PublishedDevice& former, const PublishedDevice& device);

 private:
  static const pw_resource_events connectionEvents;
  static constexpr int noAnswer = -1;
  void ask(pw_resource& connection);
  void forgetConnection();

  const std::chrono::steady_clock::time_point deadline_;
  pw_resource* connection_ = nullptr;
  spa_hook listener_ = {};
  int awaited_ = noAnswer;
  int answers_ = 0;
};

}  // namespace brindlemux::driver
