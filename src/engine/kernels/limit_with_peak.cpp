// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <cmath>

#include "engine/kernels/limit_with_peak.h"
#include "engine/kernels/vector_peak.h"

namespace brindlemux {

float plain::limitWithPeak(float* samples, std::int64_t frames) noexcept {
  float peak = 0;
  for (std::int64_t i = 0; i < frames; ++i) {
    float magnitude = std::fabs(samples[i]);
    // Both comparisons are false for a NaN.
    if (magnitude > limiterKnee) {
      const float bounded = magnitude < limiterSaturation ? magnitude : limiterSaturation;
      const float over = (bounded - limiterKnee) / limiterRange;
      const float bend = limiterRange * over / (over + 1.0F);
      magnitude = limiterKnee + bend;
      samples[i] = std::copysign(magnitude, samples[i]);
    }
    if (magnitude > peak) peak = magnitude;
  }
  return peak;
}

#if defined(__x86_64__)

namespace {

[[gnu::always_inline]] inline __m128 limited(__m128 samples) noexcept {
  const __m128 signBit = _mm_set1_ps(-0.0F);
  const __m128 knee = _mm_set1_ps(limiterKnee);
  const __m128 range = _mm_set1_ps(limiterRange);
  const __m128 magnitude = _mm_andnot_ps(signBit, samples);
  const __m128 bounded = _mm_min_ps(magnitude, _mm_set1_ps(limiterSaturation));
  const __m128 over = _mm_div_ps(_mm_sub_ps(bounded, knee), range);
  const __m128 bend = _mm_div_ps(_mm_mul_ps(range, over), _mm_add_ps(over, _mm_set1_ps(1.0F)));
  const __m128 curve = _mm_or_ps(_mm_add_ps(knee, bend), _mm_and_ps(signBit, samples));
  const __m128 loud = _mm_cmplt_ps(knee, magnitude);
  return _mm_or_ps(_mm_and_ps(loud, curve), _mm_andnot_ps(loud, samples));
}

[[gnu::always_inline, gnu::target("avx2")]] inline __m256 limitedWide(__m256 samples) noexcept {
  const __m256 signBit = _mm256_set1_ps(-0.0F);
  const __m256 knee = _mm256_set1_ps(limiterKnee);
  const __m256 range = _mm256_set1_ps(limiterRange);
  const __m256 magnitude = _mm256_andnot_ps(signBit, samples);
  const __m256 bounded = _mm256_min_ps(magnitude, _mm256_set1_ps(limiterSaturation));
  const __m256 over = _mm256_div_ps(_mm256_sub_ps(bounded, knee), range);
  const __m256 bend = _mm256_div_ps(_mm256_mul_ps(range, over), _mm256_add_ps(over, _mm256_set1_ps(1.0F)));
  const __m256 curve = _mm256_or_ps(_mm256_add_ps(knee, bend), _mm256_and_ps(signBit, samples));
  return _mm256_blendv_ps(samples, curve, _mm256_cmp_ps(magnitude, knee, _CMP_GT_OQ));
}

}  // namespace

// Most samples stay below the knee, and then cost neither a division nor a write: whole groups of registers are asked
// for their peak first.

float sse2::limitWithPeak(float* samples, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 4;
  const __m128 knee = _mm_set1_ps(limiterKnee);
  __m128 peak = _mm_setzero_ps();
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
    __m128 group[registers];
    __m128 groupPeak = _mm_setzero_ps();
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      group[i] = _mm_loadu_ps(samples + at + i * lanes);
      groupPeak = raisedPeak(groupPeak, group[i]);
    }
    if (_mm_movemask_ps(_mm_cmplt_ps(knee, groupPeak)) != 0) {
      groupPeak = _mm_setzero_ps();
#pragma GCC unroll 4
      for (std::int64_t i = 0; i < registers; ++i) {
        const __m128 result = limited(group[i]);
        _mm_storeu_ps(samples + at + i * lanes, result);
        groupPeak = raisedPeak(groupPeak, result);
      }
    }
    peak = _mm_max_ps(groupPeak, peak);
  }
  for (; at + lanes <= frames; at += lanes) {
    const __m128 result = limited(_mm_loadu_ps(samples + at));
    _mm_storeu_ps(samples + at, result);
    peak = raisedPeak(peak, result);
  }
  for (; at < frames; ++at) {
    const __m128 result = limited(_mm_load_ss(samples + at));
    _mm_store_ss(samples + at, result);
    peak = raisedPeak(peak, result);
  }
  return largestLane(peak);
}

[[gnu::target("avx2")]] float avx2::limitWithPeak(float* samples, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 4;
  const __m256 knee = _mm256_set1_ps(limiterKnee);
  __m256 widePeak = _mm256_setzero_ps();
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
    __m256 group[registers];
    __m256 groupPeak = _mm256_setzero_ps();
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      group[i] = _mm256_loadu_ps(samples + at + i * lanes);
      groupPeak = raisedPeakWide(groupPeak, group[i]);
    }
    if (_mm256_movemask_ps(_mm256_cmp_ps(groupPeak, knee, _CMP_GT_OQ)) != 0) {
      groupPeak = _mm256_setzero_ps();
#pragma GCC unroll 4
      for (std::int64_t i = 0; i < registers; ++i) {
        const __m256 result = limitedWide(group[i]);
        _mm256_storeu_ps(samples + at + i * lanes, result);
        groupPeak = raisedPeakWide(groupPeak, result);
      }
    }
    widePeak = _mm256_max_ps(groupPeak, widePeak);
  }
  for (; at + lanes <= frames; at += lanes) {
    const __m256 result = limitedWide(_mm256_loadu_ps(samples + at));
    _mm256_storeu_ps(samples + at, result);
    widePeak = raisedPeakWide(widePeak, result);
  }
  __m128 peak = narrowedPeak(widePeak);
  for (; at < frames; ++at) {
    const __m128 result = limited(_mm_load_ss(samples + at));
    _mm_store_ss(samples + at, result);
    peak = raisedPeak(peak, result);
  }
  return largestLane(peak);
}

#endif

}  // namespace brindlemux
