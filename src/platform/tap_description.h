#pragma once

#include <string>
#include <vector>

#include "model/uuid.h"
#include "platform/audio_types.h"

namespace brindlemux {

enum class TapMuteBehavior : std::int32_t {
  unmuted = 0,  ///< the tapped audio keeps playing normally
};

/// What a process tap shall hear, mixed down to stereo.
struct TapDescription {
  enum class Selection {
    only,      ///< exactly the listed processes
    allExcept  ///< every process but the listed ones
  };

  UUID uuid;
  std::string name;
  Selection selection = Selection::only;
  std::vector<AudioObjectID> processes;
  bool isPrivate = true;
  TapMuteBehavior muteBehavior = TapMuteBehavior::unmuted;

  friend bool operator==(const TapDescription&, const TapDescription&) = default;
};

}  // namespace brindlemux
