#pragma once

#include <cstdint>

namespace brindlemux {

/// Magnitudes up to the knee pass unchanged; above it they approach 1.0 without reaching it.
inline constexpr float limiterKnee = 0.9F;

/// What lies between the knee and the curve's limit of 1.0.
inline constexpr float limiterRange = 1.0F - limiterKnee;

/// From far below this magnitude on, the curve's value rounds to its limit of 1.0; far above it, the formula would
/// overflow. Magnitudes beyond it, infinity among them, are taken for it.
inline constexpr float limiterSaturation = 0x1p64F;

/// Limits every sample in place and returns the largest magnitude that is left, 0 for none. Beyond the knee T, with
/// R = 1 - T and u = (|x| - T) / R, the magnitude becomes T + R * u / (u + 1), each step rounded to 32-bit float. A NaN
/// stays as it is and never counts.
///
/// Shapes:  `frames` floats.
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::limitWithPeak is the definition; the others are equal to the last bit.
namespace plain {
float limitWithPeak(float* samples, std::int64_t frames) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
float limitWithPeak(float* samples, std::int64_t frames) noexcept;
}
namespace avx2 {
float limitWithPeak(float* samples, std::int64_t frames) noexcept;
}
#endif

}  // namespace brindlemux
