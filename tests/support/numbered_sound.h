#pragma once

#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

// Sound that tells where it comes from: each sample holds its frame's number and its channel, exactly.

namespace brindlemux::test {

inline constexpr std::int64_t numberedChannels = 32;
/// Beyond this frame the samples would reach the limiter's knee of 0.9: 0.9 * 2^24 / 32 = 471859.
inline constexpr std::int64_t lastNumberedFrame = 471'000;

/// (32 * frame + channel + 1) * 2^-24: exact in 32 bits, and never zero.
inline float numbered(std::int64_t frame, std::uint32_t channel) {
  return static_cast<float>(numberedChannels * frame + channel + 1) * 0x1p-24F;
}

inline constexpr std::int64_t silence = -1;
/// Neither silence nor a sample of the channel.
inline constexpr std::int64_t noSuchFrame = -2;

/// The frames whose sound the samples are.
inline std::vector<std::int64_t> framesOf(std::span<const float> samples, std::uint32_t channel) {
  std::vector<std::int64_t> frames;
  frames.reserve(samples.size());
  for (const float sample : samples) {
    const double number = double{sample} * 0x1p24;
    const auto whole = static_cast<std::int64_t>(number) - 1 - channel;
    const bool isNumbered = number >= 1 && number == std::floor(number) && whole % numberedChannels == 0;
    frames.push_back(sample == 0 ? silence : isNumbered ? whole / numberedChannels : noSuchFrame);
  }
  return frames;
}

/// A place where the sound does not go on with the next frame.
struct Break {
  std::int64_t at = 0;       ///< in the samples
  std::int64_t silent = 0;   ///< frames of silence
  std::int64_t skipped = 0;  ///< frames left out, negative for repeated ones
  friend bool operator==(const Break&, const Break&) = default;
};

/// Every break between the first and the last sounding frame.
inline std::vector<Break> breaksOf(std::span<const std::int64_t> frames) {
  std::vector<Break> breaks;
  std::int64_t last = silence;
  std::int64_t silent = 0;
  for (std::int64_t at = 0; at < std::ssize(frames); ++at) {
    const std::int64_t frame = frames[static_cast<std::size_t>(at)];
    if (frame == silence) {
      ++silent;
      continue;
    }
    const bool isFirst = last == silence;
    if (!isFirst && (silent > 0 || frame != last + 1)) breaks.push_back({at - silent, silent, frame - last - 1});
    last = frame;
    silent = 0;
  }
  return breaks;
}

}  // namespace brindlemux::test
