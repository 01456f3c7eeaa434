#pragma once

#include <cstdint>
#include <optional>

namespace brindlemux {

/// The rate of every mix, in Hz.
inline constexpr double engineSampleRateHz = 48000.0;

/// The most channels that a device, a ring or a mix has.
inline constexpr std::int64_t maximumChannels = 16;

/// The engine's sample format: 32-bit float, one buffer a channel.
struct AudioFormat {
  enum class Layout {
    standard,        ///< mono or stereo
    discreteInOrder  ///< channels without positions
  };

  double sampleRateHz = engineSampleRateHz;
  std::int64_t channels = 1;  ///< 1 to `maximumChannels`
  Layout layout = Layout::standard;

  /// The layout as a number: 0 for the standard ones, otherwise 0x930000 with the channel count in the low 16 bits.
  std::uint32_t layoutTag() const noexcept;

  friend bool operator==(const AudioFormat&, const AudioFormat&) = default;
};

/// The engine's format at a rate, with `channels` clamped to 1 to 16; more than two are discrete. Nothing when the rate
/// is not a positive finite number.
std::optional<AudioFormat> standardFloatFormat(double sampleRateHz, std::int64_t channels) noexcept;

}  // namespace brindlemux
