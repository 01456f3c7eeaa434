// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <cmath>

#include "engine/kernels/copy_with_peak.h"
#include "engine/kernels/vector_peak.h"

namespace brindlemux {

float plain::copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept {
  float peak = 0;
  for (std::int64_t i = 0; i < frames; ++i) {
    const float magnitude = std::fabs(from[i]);
    // False for a NaN.
    if (magnitude > peak) peak = magnitude;
    into[i] = from[i];
  }
  return peak;
}

#if defined(__x86_64__)

float sse2::copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 4;
  // Several, so that one maximum does not wait for the one before it.
  __m128 peaks[registers] = {};
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      const __m128 samples = _mm_loadu_ps(from + at + i * lanes);
      _mm_storeu_ps(into + at + i * lanes, samples);
      peaks[i] = raisedPeak(peaks[i], samples);
    }
  }
  __m128 peak = _mm_max_ps(_mm_max_ps(peaks[0], peaks[1]), _mm_max_ps(peaks[2], peaks[3]));
  for (; at + lanes <= frames; at += lanes) {
    const __m128 samples = _mm_loadu_ps(from + at);
    _mm_storeu_ps(into + at, samples);
    peak = raisedPeak(peak, samples);
  }
  for (; at < frames; ++at) {
    const __m128 sample = _mm_load_ss(from + at);
    _mm_store_ss(into + at, sample);
    peak = raisedPeak(peak, sample);
  }
  return largestLane(peak);
}

[[gnu::target("avx2")]] float avx2::copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 4;
  __m256 peaks[registers] = {};
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      const __m256 samples = _mm256_loadu_ps(from + at + i * lanes);
      _mm256_storeu_ps(into + at + i * lanes, samples);
      peaks[i] = raisedPeakWide(peaks[i], samples);
    }
  }
  __m256 widePeak = _mm256_max_ps(_mm256_max_ps(peaks[0], peaks[1]), _mm256_max_ps(peaks[2], peaks[3]));
  for (; at + lanes <= frames; at += lanes) {
    const __m256 samples = _mm256_loadu_ps(from + at);
    _mm256_storeu_ps(into + at, samples);
    widePeak = raisedPeakWide(widePeak, samples);
  }
  __m128 peak = narrowedPeak(widePeak);
  if (at + lanes / 2 <= frames) {
    const __m128 samples = _mm_loadu_ps(from + at);
    _mm_storeu_ps(into + at, samples);
    peak = raisedPeak(peak, samples);
    at += lanes / 2;
  }
  for (; at < frames; ++at) {
    const __m128 sample = _mm_load_ss(from + at);
    _mm_store_ss(into + at, sample);
    peak = raisedPeak(peak, sample);
  }
  return largestLane(peak);
}

#endif

}  // namespace brindlemux
