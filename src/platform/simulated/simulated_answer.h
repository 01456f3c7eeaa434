#pragma once

#include <cstdint>
#include <optional>

#include "platform/audio_types.h"

namespace brindlemux {

/// What a simulated object answers about one property instead of the truth. Whatever is left out stays true.
struct SimulatedAnswer {
  enum class Presence { present, absent };

  Presence presence = Presence::present;
  OSStatus status = noErr;  ///< of reads of the value and of its size
  std::optional<std::uint32_t> byteSize;
  std::optional<PropertyValue> value;
};

}  // namespace brindlemux
