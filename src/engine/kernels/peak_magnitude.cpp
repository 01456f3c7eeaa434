// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <cmath>

#include "engine/kernels/peak_magnitude.h"
#include "engine/kernels/vector_peak.h"

namespace brindlemux {

float plain::peakMagnitude(const float* samples, std::int64_t frames) noexcept {
  float peak = 0;
  for (std::int64_t i = 0; i < frames; ++i) {
    const float magnitude = std::fabs(samples[i]);
    // False for a NaN.
    if (magnitude > peak) peak = magnitude;
  }
  return peak;
}

#if defined(__x86_64__)

float sse2::peakMagnitude(const float* samples, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 4;
  __m128 peaks[registers] = {};
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      peaks[i] = raisedPeak(peaks[i], _mm_loadu_ps(samples + at + i * lanes));
    }
  }
  __m128 peak = _mm_max_ps(_mm_max_ps(peaks[0], peaks[1]), _mm_max_ps(peaks[2], peaks[3]));
  for (; at + lanes <= frames; at += lanes) peak = raisedPeak(peak, _mm_loadu_ps(samples + at));
  for (; at < frames; ++at) peak = raisedPeak(peak, _mm_load_ss(samples + at));
  return largestLane(peak);
}

[[gnu::target("avx2")]] float avx2::peakMagnitude(const float* samples, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 4;
  __m256 peaks[registers] = {};
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      peaks[i] = raisedPeakWide(peaks[i], _mm256_loadu_ps(samples + at + i * lanes));
    }
  }
  __m256 widePeak = _mm256_max_ps(_mm256_max_ps(peaks[0], peaks[1]), _mm256_max_ps(peaks[2], peaks[3]));
  for (; at + lanes <= frames; at += lanes) widePeak = raisedPeakWide(widePeak, _mm256_loadu_ps(samples + at));
  __m128 peak = narrowedPeak(widePeak);
  for (; at < frames; ++at) peak = raisedPeak(peak, _mm_load_ss(samples + at));
  return largestLane(peak);
}

#endif

}  // namespace brindlemux
