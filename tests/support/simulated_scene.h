#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/discovery.h"
#include "platform/simulated/counting_uuid_source.h"
#include "platform/simulated/simulated_audio_hardware.h"
#include "platform/simulated/table_running_applications.h"
#include "platform/simulated/virtual_clock.h"

namespace brindlemux::test {

/// A simulated server and the services around it.
struct SimulatedScene {
  SimulatedAudioHardware hardware;
  TableRunningApplications applications;
  Discovery discovery{hardware, applications};
  VirtualClock clock;
  CountingUUIDSource uuids;

  std::vector<std::string> takeJournal() { return hardware.journal().take(); }
};

/// The same sample always, on every channel.
inline SimulatedSignal constantSignal(float value) {
  return [value](std::int64_t, std::uint32_t) { return value; };
}

/// Its own position: sample (frame, channel) is frame + 100000 * channel, exactly.
inline float positionSignal(std::int64_t frame, std::uint32_t channel) {
  return static_cast<float>(frame) + 100000.0F * static_cast<float>(channel);
}

inline SimulatedDevice namedDevice(const std::string& uid) {
  SimulatedDevice device;
  device.uid = uid;
  device.name = uid + " name";
  return device;
}

/// A device with one output buffer of `channels` interleaved channels.
inline SimulatedDevice outputDevice(const std::string& uid, std::uint32_t channels = 2) {
  SimulatedDevice device = namedDevice(uid);
  device.outputBuffers = {channels};
  return device;
}

/// A device with one input buffer of `channels` interleaved channels.
inline SimulatedDevice inputDevice(const std::string& uid, std::uint32_t channels = 2, SimulatedSignal signal = {}) {
  SimulatedDevice device = namedDevice(uid);
  device.inputBuffers = {channels};
  device.input = std::move(signal);
  return device;
}

/// A device of the driver: what is played into it comes back as its input.
inline SimulatedDevice loopbackDevice(const std::string& uid, std::uint32_t channels = 2) {
  SimulatedDevice device = namedDevice(uid);
  device.inputBuffers = {channels};
  device.outputBuffers = {channels};
  device.inputKind = SimulatedInput::loopback;
  return device;
}

inline SimulatedProcess playingProcess(std::int32_t pid, std::optional<std::string> bundleID = std::nullopt,
                                       SimulatedSignal audio = {}) {
  SimulatedProcess process;
  process.pid = pid;
  process.bundleID = std::move(bundleID);
  process.isPlaying = true;
  process.audio = std::move(audio);
  return process;
}

}  // namespace brindlemux::test
