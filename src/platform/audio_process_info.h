#pragma once

#include <cstdint>
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
