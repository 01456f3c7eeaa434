#pragma once

#if defined(__x86_64__)

#include <immintrin.h>

/// Steps of the kernels that look for peaks. A peak register holds magnitudes and never a NaN.
namespace brindlemux {

/// The larger of a peak and the samples' magnitudes. The processor's maximum gives its second operand where either is a
/// NaN, so a NaN never counts.
[[gnu::always_inline]] inline __m128 raisedPeak(__m128 peak, __m128 samples) noexcept {
  return _mm_max_ps(_mm_andnot_ps(_mm_set1_ps(-0.0F), samples), peak);
}

[[gnu::always_inline, gnu::target("avx2")]] inline __m256 raisedPeakWide(__m256 peak, __m256 samples) noexcept {
  return _mm256_max_ps(_mm256_andnot_ps(_mm256_set1_ps(-0.0F), samples), peak);
}

[[gnu::always_inline, gnu::target("avx2")]] inline __m128 narrowedPeak(__m256 peak) noexcept {
  return _mm_max_ps(_mm256_castps256_ps128(peak), _mm256_extractf128_ps(peak, 1));
}

[[gnu::always_inline]] inline float largestLane(__m128 peak) noexcept {
  const __m128 pair = _mm_max_ps(peak, _mm_movehl_ps(peak, peak));
  return _mm_cvtss_f32(_mm_max_ss(pair, _mm_shuffle_ps(pair, pair, 1)));
}

}  // namespace brindlemux

#endif
