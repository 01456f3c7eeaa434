#include "engine/soft_limiter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace brindlemux {
namespace {

constexpr float range = 1.0F - limiterKnee;

// From far below this magnitude on, the curve's value rounds to its limit of 1.0; far above it, R * u would overflow.
// Magnitudes beyond it, infinity among them, are taken for it.
constexpr float saturation = 0x1p64F;

// Samples that are looked at together: most blocks stay below the knee and then cost no division.
constexpr std::size_t groupSamples = 64;

constexpr std::uint32_t magnitudeMask = 0x7FFFFFFFU;
constexpr std::uint32_t infinityBits = 0x7F800000U;

float limited(float sample) noexcept {
  const float magnitude = std::fabs(sample);
  const float bounded = magnitude < saturation ? magnitude : saturation;
  const float over = (bounded - limiterKnee) / range;
  const float curve = limiterKnee + range * over / (over + 1.0F);
  // False for a NaN.
  return magnitude > limiterKnee ? std::copysign(curve, sample) : sample;
}

}  // namespace

void softLimit(std::span<float> samples) noexcept {
  while (!samples.empty()) {
    const std::span<float> group = samples.first(std::min(samples.size(), groupSamples));
    if (peakMagnitude(group) > limiterKnee) {
      for (float& sample : group) sample = limited(sample);
    }
    samples = samples.subspan(group.size());
  }
}

float peakMagnitude(std::span<const float> samples) noexcept {
  // The bits of magnitudes are ordered as the magnitudes are, with the NaNs above infinity; unlike a maximum of floats,
  // one of integers may be formed in any order, so the compiler can do several at a time.
  std::int32_t peak = 0;
  for (const float sample : samples) {
    const std::uint32_t bits = std::bit_cast<std::uint32_t>(sample) & magnitudeMask;
    const auto magnitude = static_cast<std::int32_t>(bits > infinityBits ? 0U : bits);
    peak = std::max(peak, magnitude);
  }
  return std::bit_cast<float>(peak);
}

}  // namespace brindlemux
