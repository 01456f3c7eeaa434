#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "platform/audio_types.h"

namespace brindlemux {

/// One process that the audio server knows.
struct AudioProcessInfo {
  AudioObjectID id = kAudioObjectUnknown;
  std::int32_t pid = -1;
  std::string name;
  std::optional<std::string> bundleID;
  bool isPlaying = false;

  friend bool operator==(const AudioProcessInfo&, const AudioProcessInfo&) = default;
};

}  // namespace brindlemux

template <>
struct std::hash<brindlemux::AudioProcessInfo> {
  std::size_t operator()(const brindlemux::AudioProcessInfo& process) const noexcept;
};
