#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "driver/default_metadata.h"
#include "driver/device_introduction.h"
#include "driver/published_device.h"

namespace brindlemux::driver {

/// The end of a device's nodes whose successors, with another channel count, are already there: waits until these can
/// be used, moves the streams over that would not move by themselves, and tells when the old nodes can go.
///
/// Were the old nodes simply destroyed, the session manager would move their streams to the default sink or source and
/// leave them there: a call would go on with the real microphone. Streams that name the device by its node's name, and
/// those that follow the default, find the successor by themselves once it can be used. Streams that name the old node
/// by its number are told the new one. Owns the old nodes. Threads: the server's main loop.
class Handover {
 public:
  Handover(std::string uid, std::unique_ptr<PublishedDevice> old);

  const std::string& uid() const noexcept { return uid_; }

  /// Does what can be done by now; returns whether it is over. `successor` is null when the device has been removed.
  bool step(pw_context& context, DefaultMetadata& metadata, const PublishedDevice* successor);

 private:
  void beginWith(const PublishedDevice& successor);
  bool managerKnows(pw_context& context, const PublishedDevice& successor);
  bool othersKnow(const PublishedDevice& successor);
  bool moveStreams(pw_context& context, DefaultMetadata& metadata, const PublishedDevice& successor);

  std::string uid_;
  std::unique_ptr<PublishedDevice> old_;
  std::chrono::steady_clock::time_point deadline_;
  /// The serial of the successor that the introductions are about.
  std::uint64_t introduced_ = 0;
  std::unique_ptr<DeviceIntroduction> toManager_;
  /// By the clients' serials.
  std::map<std::uint64_t, std::unique_ptr<DeviceIntroduction>> toOthers_;
  /// Serials of the streams that the session manager has been asked to move.
  std::set<std::uint64_t> asked_;
};

}  // namespace brindlemux::driver
