#pragma once

#include <cstdint>
#include <memory>

#include "engine/device_engine.h"

// What a DeviceEngine keeps for one source or monitor; seen by its own sources only.

namespace brindlemux {

/// The captures of one source node. A source has one of the two, or none while what it captures is not there.
struct DeviceEngine::SourceRuntime {
  std::unique_ptr<ProcessTapCapture> tapCapture;
  std::unique_ptr<InputEngine> micCapture;
  /// The process that the tap was made for, -1 for none.
  std::int32_t resolvedPID = -1;
  /// The device that the input capture was made for.
  AudioObjectID resolvedMicDeviceID = kAudioObjectUnknown;

  void dropTap();
  void dropMic();
  void stop();

  bool isCapturing() const noexcept { return tapCapture != nullptr || micCapture != nullptr; }
  /// The ring of the capture that runs, or none.
  std::shared_ptr<SourceRing> ring() const;
};

/// One running monitor output and what it was made for.
struct DeviceEngine::MonitorRuntime {
  std::unique_ptr<OutputEngine> output;
  std::int64_t channels = 0;
  AudioObjectID deviceID = kAudioObjectUnknown;
};

}  // namespace brindlemux
