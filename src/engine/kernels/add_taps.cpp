// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <algorithm>

#include "engine/kernels/add_taps.h"
#include "engine/kernels/tap_runs.h"
#include "engine/kernels/vector_mask.h"

namespace brindlemux {

void plain::addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
                    std::span<const Tap> taps) noexcept {
  for (const Tap& tap : taps) {
    if (tap.src < 0 || tap.src >= window.channels) continue;
    if (tap.out < 0 || tap.out >= static_cast<std::int64_t>(outputs.size())) continue;
    const float* channel = window.samples + tap.src * window.stride;
    float* output = outputs[static_cast<std::size_t>(tap.out)] + at;
    for (std::int64_t i = 0; i < window.frames; ++i) {
      const float product = tap.gain * channel[i];
      output[i] = output[i] + product;
    }
  }
}

#if defined(__x86_64__)

// Both walk an output in blocks of several registers, whose sums stay there while every tap of a run passes.

namespace {

constexpr std::int64_t lanes = 4;

/// Adds a run. Channel c begins at `from + c * stride`.
void addRun(float* into, const float* from, std::int64_t stride, const Tap* first, const Tap* last,
            std::int64_t frames) noexcept {
  constexpr std::int64_t registers = 8;
  for (; frames >= registers * lanes; frames -= registers * lanes) {
    __m128 sums[registers];
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) sums[i] = _mm_loadu_ps(into + i * lanes);
    for (const Tap* tap = first; tap != last; ++tap) {
      const float* samples = from + tap->src * stride;
      const __m128 gain = _mm_set1_ps(tap->gain);
#pragma GCC unroll 8
      for (std::int64_t i = 0; i < registers; ++i) {
        sums[i] = _mm_add_ps(sums[i], _mm_mul_ps(gain, _mm_loadu_ps(samples + i * lanes)));
      }
    }
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) _mm_storeu_ps(into + i * lanes, sums[i]);
    into += registers * lanes;
    from += registers * lanes;
  }
  for (; frames >= lanes; frames -= lanes) {
    __m128 sum = _mm_loadu_ps(into);
    for (const Tap* tap = first; tap != last; ++tap) {
      sum = _mm_add_ps(sum, _mm_mul_ps(_mm_set1_ps(tap->gain), _mm_loadu_ps(from + tap->src * stride)));
    }
    _mm_storeu_ps(into, sum);
    into += lanes;
    from += lanes;
  }
  for (; frames > 0; --frames) {
    __m128 sum = _mm_load_ss(into);
    for (const Tap* tap = first; tap != last; ++tap) {
      sum = _mm_add_ss(sum, _mm_mul_ss(_mm_set_ss(tap->gain), _mm_load_ss(from + tap->src * stride)));
    }
    _mm_store_ss(into, sum);
    ++into;
    ++from;
  }
}

constexpr std::int64_t wideLanes = 8;
constexpr std::int64_t blockRegisters = 8;
constexpr std::int64_t blockFrames = blockRegisters * wideLanes;

[[gnu::always_inline, gnu::target("avx2")]] inline void addBlock(float* into, const float* from, std::int64_t stride,
                                                                 const Tap* first, const Tap* last) noexcept {
  __m256 sums[blockRegisters];
#pragma GCC unroll 8
  for (std::int64_t i = 0; i < blockRegisters; ++i) sums[i] = _mm256_loadu_ps(into + i * wideLanes);
  for (const Tap* tap = first; tap != last; ++tap) {
    const float* samples = from + tap->src * stride;
    const __m256 gain = _mm256_set1_ps(tap->gain);
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < blockRegisters; ++i) {
      sums[i] = _mm256_add_ps(sums[i], _mm256_mul_ps(gain, _mm256_loadu_ps(samples + i * wideLanes)));
    }
  }
#pragma GCC unroll 8
  for (std::int64_t i = 0; i < blockRegisters; ++i) _mm256_storeu_ps(into + i * wideLanes, sums[i]);
}

/// What is left of whole blocks, register by register, of the last one only the lanes that are asked for.
[[gnu::noinline, gnu::target("avx2")]] void addRemainder(float* into, const float* from, std::int64_t stride,
                                                         const Tap* first, const Tap* last,
                                                         std::int64_t frames) noexcept {
  for (; frames >= wideLanes; frames -= wideLanes) {
    __m256 sum = _mm256_loadu_ps(into);
    for (const Tap* tap = first; tap != last; ++tap) {
      const __m256 samples = _mm256_loadu_ps(from + tap->src * stride);
      sum = _mm256_add_ps(sum, _mm256_mul_ps(_mm256_set1_ps(tap->gain), samples));
    }
    _mm256_storeu_ps(into, sum);
    into += wideLanes;
    from += wideLanes;
  }
  if (frames == 0) return;
  const __m256i mask = firstLanes(frames);
  __m256 sum = _mm256_maskload_ps(into, mask);
  for (const Tap* tap = first; tap != last; ++tap) {
    const __m256 samples = _mm256_maskload_ps(from + tap->src * stride, mask);
    sum = _mm256_add_ps(sum, _mm256_mul_ps(_mm256_set1_ps(tap->gain), samples));
  }
  _mm256_maskstore_ps(into, mask, sum);
}

/// Adds whole blocks of a single tap, whose sums need not stay in registers.
[[gnu::always_inline, gnu::target("avx2")]] inline void addLoneTap(float* into, const float* samples, float linear,
                                                                   std::int64_t frames) noexcept {
  const __m256 gain = _mm256_set1_ps(linear);
  for (; frames >= blockFrames; frames -= blockFrames) {
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < blockFrames; i += wideLanes) {
      const __m256 product = _mm256_mul_ps(gain, _mm256_loadu_ps(samples + i));
      _mm256_storeu_ps(into + i, _mm256_add_ps(product, _mm256_loadu_ps(into + i)));
    }
    into += blockFrames;
    samples += blockFrames;
  }
}

[[gnu::always_inline, gnu::target("avx2")]] inline void addWideRun(float* into, const float* from, std::int64_t stride,
                                                                   const Tap* first, const Tap* last,
                                                                   std::int64_t frames) noexcept {
  if (last - first == 1) {
    addLoneTap(into, from + first->src * stride, first->gain, frames);
    const std::int64_t whole = frames & -blockFrames;
    if (whole < frames) addRemainder(into + whole, from + whole, stride, first, last, frames - whole);
    return;
  }
  for (; frames >= blockFrames; frames -= blockFrames) {
    addBlock(into, from, stride, first, last);
    into += blockFrames;
    from += blockFrames;
  }
  if (frames > 0) addRemainder(into, from, stride, first, last, frames);
}

}  // namespace

void sse2::addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
                   std::span<const Tap> taps) noexcept {
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)] + at;
    addRun(into, window.samples, window.stride, runs.first, runs.last, window.frames);
  }
}

[[gnu::target("avx2")]] void avx2::addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
                                           std::span<const Tap> taps) noexcept {
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)] + at;
    addWideRun(into, window.samples, window.stride, runs.first, runs.last, window.frames);
  }
}

#endif

}  // namespace brindlemux
