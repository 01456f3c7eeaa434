#pragma once

#include <span>

namespace brindlemux {

/// Magnitudes up to the knee pass unchanged; above it they approach 1.0 without reaching it.
inline constexpr float limiterKnee = 0.9F;

/// Limits every sample in place: beyond the knee T, with R = 1 - T in 32-bit float and u = (|x| - T) / R, the magnitude
/// becomes T + R * u / (u + 1). A NaN stays as it is.
///
/// Threads: any; never allocates.
void softLimit(std::span<float> samples) noexcept;

/// The largest magnitude, 0 for none; a NaN never counts. Threads: any; never allocates.
float peakMagnitude(std::span<const float> samples) noexcept;

}  // namespace brindlemux
