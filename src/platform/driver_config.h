#pragma once

#include <optional>
#include <vector>

#include "model/driver_payload.h"
#include "model/virtual_device_config.h"
#include "platform/audio_hardware.h"

namespace brindlemux {

inline constexpr AudioObjectPropertyAddress driverPropertyAddress = globalAddress(fourCharCode("bxcf"));

/// The link to the driver: finds it, reads its list of virtual devices and writes it. Holds no state; the hardware is
/// borrowed.
///
/// Threads: the main thread; calls wait for the audio server's answer.
class DriverConfig {
 public:
  explicit DriverConfig(AudioHardware& hardware) : hardware_(hardware) {}

  /// The driver's object, or nothing when it is not installed or not loaded.
  std::optional<AudioObjectID> pluginObjectID() const;

  /// The devices that the driver publishes, channel counts made even and 2 to 16; elements that are not a device are
  /// dropped. Nothing when there is no list, which differs from an empty one.
  std::optional<std::vector<VirtualDeviceConfig>> readDevices() const;

  /// Replaces the driver's whole list. Returns whether the driver accepted it.
  bool writeDevices(const std::vector<VirtualDeviceConfig>& devices);

 private:
  AudioHardware& hardware_;
};

}  // namespace brindlemux
