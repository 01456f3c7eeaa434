// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <cmath>

#include "engine/kernels/copy_with_peak.h"
#include "engine/kernels/vector_mask.h"
#include "engine/kernels/vector_peak.h"

namespace brindlemux {

void plain::copyWithPeak(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept {
  for (std::int64_t i = 0; i < frames; ++i) {
    const float magnitude = std::fabs(from[i]);
    // False for a NaN.
    if (magnitude > peak.lanes[0]) peak.lanes[0] = magnitude;
    into[i] = from[i];
  }
}

#if defined(__x86_64__)

// What is left of whole registers at the end is copied once more with some that went before, where there are enough.

void sse2::copyWithPeak(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept {
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 4;
  // Several, so that one maximum does not wait for the one before it.
  __m128 peaks[registers] = {_mm_load_ps(peak.lanes), _mm_load_ps(peak.lanes + lanes)};
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      const __m128 samples = _mm_loadu_ps(from + at + i * lanes);
      _mm_storeu_ps(into + at + i * lanes, samples);
      peaks[i] = raisedPeak(peaks[i], samples);
    }
  }
  for (; at + lanes <= frames; at += lanes) {
    const __m128 samples = _mm_loadu_ps(from + at);
    _mm_storeu_ps(into + at, samples);
    peaks[0] = raisedPeak(peaks[0], samples);
  }
  if (at < frames && frames >= lanes) {
    const __m128 samples = _mm_loadu_ps(from + frames - lanes);
    _mm_storeu_ps(into + frames - lanes, samples);
    peaks[1] = raisedPeak(peaks[1], samples);
    at = frames;
  }
  for (; at < frames; ++at) {
    const __m128 sample = _mm_load_ss(from + at);
    _mm_store_ss(into + at, sample);
    peaks[1] = raisedPeak(peaks[1], sample);
  }
  _mm_store_ps(peak.lanes, _mm_max_ps(peaks[0], peaks[2]));
  _mm_store_ps(peak.lanes + lanes, _mm_max_ps(peaks[1], peaks[3]));
}

[[gnu::target("avx2")]] void avx2::copyWithPeak(float* into, const float* from, std::int64_t frames,
                                                PeakLanes& peak) noexcept {
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 4;
  if (frames < lanes) {
    const __m256i mask = firstLanes(frames);
    const __m256 samples = _mm256_maskload_ps(from, mask);
    _mm256_maskstore_ps(into, mask, samples);
    return _mm256_store_ps(peak.lanes, raisedPeakWide(_mm256_load_ps(peak.lanes), samples));
  }
  // The first register goes where it belongs, the following ones to whole registers of memory, and the last one again
  // where it belongs: a write that crosses two cache lines takes twice as long, and some are copied twice instead.
  const __m256 head = _mm256_loadu_ps(from);
  const __m256 tail = _mm256_loadu_ps(from + frames - lanes);
  __m256 peaks[registers] = {_mm256_load_ps(peak.lanes)};
  peaks[1] = raisedPeakWide(peaks[1], head);
  peaks[2] = raisedPeakWide(peaks[2], tail);
  float* const end = into + frames;
  _mm256_storeu_ps(into, head);
  const auto past = static_cast<std::int64_t>(reinterpret_cast<std::uintptr_t>(into) / sizeof(float) % lanes);
  const std::int64_t first = past == 0 ? 0 : lanes - past;
  into += first;
  from += first;
  for (; into + registers * lanes <= end; into += registers * lanes, from += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = 0; i < registers; ++i) {
      const __m256 samples = _mm256_loadu_ps(from + i * lanes);
      _mm256_store_ps(into + i * lanes, samples);
      peaks[i] = raisedPeakWide(peaks[i], samples);
    }
  }
#pragma GCC unroll 3
  for (std::int64_t i = 0; i < registers - 1; ++i, into += lanes, from += lanes) {
    if (into + lanes > end) break;
    const __m256 samples = _mm256_loadu_ps(from);
    _mm256_store_ps(into, samples);
    peaks[i] = raisedPeakWide(peaks[i], samples);
  }
  _mm256_storeu_ps(end - lanes, tail);
  _mm256_store_ps(peak.lanes, _mm256_max_ps(_mm256_max_ps(peaks[0], peaks[1]), _mm256_max_ps(peaks[2], peaks[3])));
}

#endif

}  // namespace brindlemux
