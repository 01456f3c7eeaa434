// clang-format off: first of all
#include "engine/kernels/target.h"
// clang-format on

#include "engine/kernels/add_scaled.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace brindlemux {

void plain::addScaled(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
                      std::int64_t frames) noexcept {
  for (std::int64_t input = 0; input < count; ++input) {
    const float* samples = inputs[input].samples + skip;
    const float gain = inputs[input].gain;
    for (std::int64_t i = 0; i < frames; ++i) {
      const float product = gain * samples[i];
      into[i] = into[i] + product;
    }
  }
}

#if defined(__x86_64__)

namespace {

// A single input, which is the most frequent number, with its gain and its place in registers.

void addOne(float* into, const float* samples, float gain, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 4;
  const __m128 gains = _mm_set1_ps(gain);
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = at; i < at + registers * lanes; i += lanes) {
      const __m128 product = _mm_mul_ps(gains, _mm_loadu_ps(samples + i));
      _mm_storeu_ps(into + i, _mm_add_ps(_mm_loadu_ps(into + i), product));
    }
  }
  for (; at + lanes <= frames; at += lanes) {
    const __m128 product = _mm_mul_ps(gains, _mm_loadu_ps(samples + at));
    _mm_storeu_ps(into + at, _mm_add_ps(_mm_loadu_ps(into + at), product));
  }
  for (; at < frames; ++at) {
    const __m128 product = _mm_mul_ss(gains, _mm_load_ss(samples + at));
    _mm_store_ss(into + at, _mm_add_ss(_mm_load_ss(into + at), product));
  }
}

[[gnu::target("avx2")]] void addOneWide(float* into, const float* samples, float gain, std::int64_t frames) noexcept {
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 4;
  const __m256 gains = _mm256_set1_ps(gain);
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
#pragma GCC unroll 4
    for (std::int64_t i = at; i < at + registers * lanes; i += lanes) {
      const __m256 product = _mm256_mul_ps(gains, _mm256_loadu_ps(samples + i));
      _mm256_storeu_ps(into + i, _mm256_add_ps(_mm256_loadu_ps(into + i), product));
    }
  }
  for (; at + lanes <= frames; at += lanes) {
    const __m256 product = _mm256_mul_ps(gains, _mm256_loadu_ps(samples + at));
    _mm256_storeu_ps(into + at, _mm256_add_ps(_mm256_loadu_ps(into + at), product));
  }
  const __m128 narrowGains = _mm256_castps256_ps128(gains);
  if (at + lanes / 2 <= frames) {
    const __m128 product = _mm_mul_ps(narrowGains, _mm_loadu_ps(samples + at));
    _mm_storeu_ps(into + at, _mm_add_ps(_mm_loadu_ps(into + at), product));
    at += lanes / 2;
  }
  for (; at < frames; ++at) {
    const __m128 product = _mm_mul_ss(narrowGains, _mm_load_ss(samples + at));
    _mm_store_ss(into + at, _mm_add_ss(_mm_load_ss(into + at), product));
  }
}

}  // namespace

// Both walk the output in long strides, whose sums stay in registers while every input passes, then in single
// registers, then sample by sample. Single registers of the shorter kind shorten what is left for the last loop.

void sse2::addScaled(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
                     std::int64_t frames) noexcept {
  if (count == 1) return addOne(into, inputs->samples + skip, inputs->gain, frames);
  constexpr std::int64_t lanes = 4;
  constexpr std::int64_t registers = 8;
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
    __m128 sums[registers];
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) sums[i] = _mm_loadu_ps(into + at + i * lanes);
    for (std::int64_t input = 0; input < count; ++input) {
      const float* samples = inputs[input].samples + skip + at;
      const __m128 gain = _mm_set1_ps(inputs[input].gain);
#pragma GCC unroll 8
      for (std::int64_t i = 0; i < registers; ++i) {
        sums[i] = _mm_add_ps(sums[i], _mm_mul_ps(gain, _mm_loadu_ps(samples + i * lanes)));
      }
    }
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) _mm_storeu_ps(into + at + i * lanes, sums[i]);
  }
  for (; at + lanes <= frames; at += lanes) {
    __m128 sum = _mm_loadu_ps(into + at);
    for (std::int64_t input = 0; input < count; ++input) {
      const __m128 gain = _mm_set1_ps(inputs[input].gain);
      sum = _mm_add_ps(sum, _mm_mul_ps(gain, _mm_loadu_ps(inputs[input].samples + skip + at)));
    }
    _mm_storeu_ps(into + at, sum);
  }
  for (; at < frames; ++at) {
    __m128 sum = _mm_load_ss(into + at);
    for (std::int64_t input = 0; input < count; ++input) {
      const __m128 gain = _mm_set_ss(inputs[input].gain);
      sum = _mm_add_ss(sum, _mm_mul_ss(gain, _mm_load_ss(inputs[input].samples + skip + at)));
    }
    _mm_store_ss(into + at, sum);
  }
}

[[gnu::target("avx2")]] void avx2::addScaled(float* into, const ScaledInput* inputs, std::int64_t count,
                                             std::int64_t skip, std::int64_t frames) noexcept {
  if (count == 1) return addOneWide(into, inputs->samples + skip, inputs->gain, frames);
  constexpr std::int64_t lanes = 8;
  constexpr std::int64_t registers = 8;
  std::int64_t at = 0;
  for (; at + registers * lanes <= frames; at += registers * lanes) {
    __m256 sums[registers];
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) sums[i] = _mm256_loadu_ps(into + at + i * lanes);
    for (std::int64_t input = 0; input < count; ++input) {
      const float* samples = inputs[input].samples + skip + at;
      const __m256 gain = _mm256_set1_ps(inputs[input].gain);
#pragma GCC unroll 8
      for (std::int64_t i = 0; i < registers; ++i) {
        sums[i] = _mm256_add_ps(sums[i], _mm256_mul_ps(gain, _mm256_loadu_ps(samples + i * lanes)));
      }
    }
#pragma GCC unroll 8
    for (std::int64_t i = 0; i < registers; ++i) _mm256_storeu_ps(into + at + i * lanes, sums[i]);
  }
  for (; at + lanes <= frames; at += lanes) {
    __m256 sum = _mm256_loadu_ps(into + at);
    for (std::int64_t input = 0; input < count; ++input) {
      const __m256 gain = _mm256_set1_ps(inputs[input].gain);
      sum = _mm256_add_ps(sum, _mm256_mul_ps(gain, _mm256_loadu_ps(inputs[input].samples + skip + at)));
    }
    _mm256_storeu_ps(into + at, sum);
  }
  if (at + lanes / 2 <= frames) {
    __m128 sum = _mm_loadu_ps(into + at);
    for (std::int64_t input = 0; input < count; ++input) {
      const __m128 gain = _mm_set1_ps(inputs[input].gain);
      sum = _mm_add_ps(sum, _mm_mul_ps(gain, _mm_loadu_ps(inputs[input].samples + skip + at)));
    }
    _mm_storeu_ps(into + at, sum);
    at += lanes / 2;
  }
  for (; at < frames; ++at) {
    __m128 sum = _mm_load_ss(into + at);
    for (std::int64_t input = 0; input < count; ++input) {
      const __m128 gain = _mm_set_ss(inputs[input].gain);
      sum = _mm_add_ss(sum, _mm_mul_ss(gain, _mm_load_ss(inputs[input].samples + skip + at)));
    }
    _mm_store_ss(into + at, sum);
  }
}

#endif

}  // namespace brindlemux
