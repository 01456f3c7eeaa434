// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include <algorithm>

#include "engine/kernels/add_taps.h"
#include "engine/kernels/tap_runs.h"
#include "engine/kernels/vector_mask.h"

namespace brindlemux {

void plain::addTaps(const RingWindow& window, std::span<float* const> outputs, std::span<const Tap> taps) noexcept {
  for (const Tap& tap : taps) {
    if (tap.src < 0 || tap.src >= window.channels) continue;
    if (tap.out < 0 || tap.out >= static_cast<std::int64_t>(outputs.size())) continue;
    const float* channel = window.samples + tap.src * window.capacity;
    float* output = outputs[static_cast<std::size_t>(tap.out)];
    std::int64_t slot = window.start;
    for (std::int64_t i = 0; i < window.frames; ++i) {
      const float product = tap.gain * channel[slot];
      output[i] = output[i] + product;
      if (++slot == window.capacity) slot = 0;
    }
  }
}

#if defined(__x86_64__)

// Both walk an output in blocks of several registers, whose sums stay there while every tap of a run passes.

namespace {

constexpr std::int64_t lanes = 4;

/// Adds a run from where no wrap lies ahead. Channel c begins at `from + c * stride`.
void addStretch(float* into, const float* from, std::int64_t stride, const Tap* first, const Tap* last,
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

// Where the registers of a block come from: `load` gives register i of the channel that begins `offset` floats on.

struct Contiguous {
  const float* from;

  [[gnu::always_inline, gnu::target("avx2")]] __m256 load(std::int64_t i, std::int64_t offset) const noexcept {
    return _mm256_loadu_ps(from + offset + i * wideLanes);
  }
};

/// The ring ends within register `seam`: `from` is where the block's first register lies, `wrapped` where it would lie
/// if the ring's beginning were the continuation of what goes before.
template <std::int64_t seam>
struct Wrapping {
  const float* from;
  const float* wrapped;
  __m256i beforeTheEnd;
  __m256i afterTheEnd;

  [[gnu::always_inline, gnu::target("avx2")]] __m256 load(std::int64_t i, std::int64_t offset) const noexcept {
    const std::int64_t at = offset + i * wideLanes;
    if (i < seam) return _mm256_loadu_ps(from + at);
    if (i > seam) return _mm256_loadu_ps(wrapped + at);
    // What a mask leaves out is zero.
    return _mm256_or_ps(_mm256_maskload_ps(from + at, beforeTheEnd), _mm256_maskload_ps(wrapped + at, afterTheEnd));
  }
};

template <typename Source>
[[gnu::always_inline, gnu::target("avx2")]] inline void addBlock(float* into, Source source, std::int64_t stride,
                                                                 const Tap* first, const Tap* last) noexcept {
  __m256 sums[blockRegisters];
#pragma GCC unroll 8
  for (std::int64_t i = 0; i < blockRegisters; ++i) sums[i] = _mm256_loadu_ps(into + i * wideLanes);
  for (const Tap* tap = first; tap != last; ++tap) {
    const std::int64_t offset = tap->src * stride;
    const __m256 gain = _mm256_set1_ps(tap->gain);
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < blockRegisters; ++i) {
      sums[i] = _mm256_add_ps(sums[i], _mm256_mul_ps(gain, source.load(i, offset)));
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

[[gnu::always_inline, gnu::target("avx2")]] inline void addWideStretch(float* into, const float* from,
                                                                       std::int64_t stride, const Tap* first,
                                                                       const Tap* last, std::int64_t frames) noexcept {
  for (; frames >= blockFrames; frames -= blockFrames) {
    addBlock(into, Contiguous{from}, stride, first, last);
    into += blockFrames;
    from += blockFrames;
  }
  if (frames > 0) addRemainder(into, from, stride, first, last, frames);
}

using AddTaps = void (*)(const RingWindow&, std::span<float* const>, std::span<const Tap>) noexcept;

[[gnu::target("avx2")]] void addWithoutWrap(const RingWindow& window, std::span<float* const> outputs,
                                            std::span<const Tap> taps) noexcept {
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)];
    addWideStretch(into, window.samples + window.start, window.capacity, runs.first, runs.last, window.frames);
  }
}

/// The block that the ring's end lies in is a whole one, and is added in one pass like the others.
template <std::int64_t seam>
[[gnu::target("avx2")]] void addAroundSeam(const RingWindow& window, std::span<float* const> outputs,
                                           std::span<const Tap> taps) noexcept {
  const std::int64_t beforeTheEnd = window.capacity - window.start;
  const std::int64_t whole = beforeTheEnd / blockFrames * blockFrames;
  const float* from = window.samples + window.start;
  const float* wrapped = window.samples - beforeTheEnd;
  const __m256i mask = firstLanes(beforeTheEnd - whole - seam * wideLanes);
  const Wrapping<seam> block = {.from = from + whole,
                                .wrapped = wrapped + whole,
                                .beforeTheEnd = mask,
                                .afterTheEnd = _mm256_xor_si256(mask, _mm256_set1_epi32(-1))};
  const std::int64_t after = whole + blockFrames;
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)];
    addWideStretch(into, from, window.capacity, runs.first, runs.last, whole);
    addBlock(into + whole, block, window.capacity, runs.first, runs.last);
    addWideStretch(into + after, wrapped + after, window.capacity, runs.first, runs.last, window.frames - after);
  }
}

[[gnu::target("avx2")]] void addInTwoStretches(const RingWindow& window, std::span<float* const> outputs,
                                               std::span<const Tap> taps) noexcept {
  const std::int64_t beforeTheEnd = window.capacity - window.start;
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)];
    addWideStretch(into, window.samples + window.start, window.capacity, runs.first, runs.last, beforeTheEnd);
    addWideStretch(into + beforeTheEnd, window.samples, window.capacity, runs.first, runs.last,
                   window.frames - beforeTheEnd);
  }
}

}  // namespace

void sse2::addTaps(const RingWindow& window, std::span<float* const> outputs, std::span<const Tap> taps) noexcept {
  const std::int64_t beforeTheEnd = std::min(window.frames, window.capacity - window.start);
  TapRuns runs(taps, window.channels, outputs.size());
  while (runs.next()) {
    float* into = outputs[static_cast<std::size_t>(runs.first->out)];
    addStretch(into, window.samples + window.start, window.capacity, runs.first, runs.last, beforeTheEnd);
    addStretch(into + beforeTheEnd, window.samples, window.capacity, runs.first, runs.last,
               window.frames - beforeTheEnd);
  }
}

[[gnu::target("avx2")]] void avx2::addTaps(const RingWindow& window, std::span<float* const> outputs,
                                           std::span<const Tap> taps) noexcept {
  const std::int64_t beforeTheEnd = window.capacity - window.start;
  if (window.frames <= beforeTheEnd) [[likely]]
    return addWithoutWrap(window, outputs, taps);
  constexpr AddTaps around[blockRegisters] = {addAroundSeam<0>, addAroundSeam<1>, addAroundSeam<2>, addAroundSeam<3>,
                                              addAroundSeam<4>, addAroundSeam<5>, addAroundSeam<6>, addAroundSeam<7>};
  const std::int64_t whole = beforeTheEnd / blockFrames * blockFrames;
  if (whole + blockFrames > window.frames) return addInTwoStretches(window, outputs, taps);
  around[(beforeTheEnd - whole) / wideLanes](window, outputs, taps);
}

#endif

}  // namespace brindlemux
