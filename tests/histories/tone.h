#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "histories/random.h"

namespace brindlemux::history {

/// One channel of one device or process that makes a sound.
struct ToneChannel {
  std::int64_t tone = 0;
  std::uint32_t channel = 0;
  friend bool operator==(const ToneChannel&, const ToneChannel&) = default;
};

/// The one channel that sounds while everything else is mute, or nothing while everything sounds.
using Solo = std::optional<ToneChannel>;

/// The constant level at which a channel sounds: a multiple of 1/8192 up to 1/16. Gains are multiples of 1/8, so that
/// the products and sums of a mix are exact in 32-bit floats and the order of adding makes no difference.
inline float toneLevel(const ToneChannel& channel) noexcept {
  const std::uint64_t number = scattered(static_cast<std::uint64_t>(channel.tone) * 64 + channel.channel);
  return static_cast<float>(number % 512 + 1) / 8192.0F;
}

inline float audibleLevel(const ToneChannel& channel, const Solo& solo) noexcept {
  return !solo || *solo == channel ? toneLevel(channel) : 0.0F;
}

/// The sound of a device or a process. Borrows the solo.
class Tone {
 public:
  Tone(std::int64_t number, const Solo& solo) noexcept : number_(number), solo_(&solo) {
    for (std::uint32_t channel = 0; channel < levels_.size(); ++channel)
      levels_[channel] = toneLevel({number, channel});
  }

  float operator()(std::int64_t, std::uint32_t channel) const noexcept {
    if (*solo_ && **solo_ != ToneChannel{number_, channel}) return 0.0F;
    return channel < levels_.size() ? levels_[channel] : 0.0F;
  }

 private:
  std::int64_t number_;
  const Solo* solo_;
  std::array<float, 40> levels_{};
};

}  // namespace brindlemux::history
