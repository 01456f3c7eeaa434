#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/audio_types.h"

namespace brindlemux {

/// One audio device.
struct AudioDeviceInfo {
  AudioObjectID id = kAudioObjectUnknown;
  std::string uid;
  std::string name;
  std::int64_t inputChannels = 0;
  std::int64_t outputChannels = 0;

  friend bool operator==(const AudioDeviceInfo&, const AudioDeviceInfo&) = default;
};

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::AudioDeviceInfo> {
  std::size_t operator()(const brindlemux::AudioDeviceInfo& device) const noexcept;
};
