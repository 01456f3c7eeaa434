#include "bounds.h"

#include <cstddef>
#include <immintrin.h>
#include <vector>

namespace brindlemux::bench {
namespace {

constexpr std::int64_t registers = 8;

// Lengths are multiples of a register's lanes; what is left of the long strides is done register by register.

[[gnu::target("sse2")]] void triadSSE2(float* into, const float* from, std::int64_t frames) noexcept {
  std::int64_t at = 0;
  for (; at + registers * 4 <= frames; at += registers * 4) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 4; i += 4) {
      _mm_storeu_ps(into + i, _mm_add_ps(_mm_loadu_ps(into + i), _mm_loadu_ps(from + i)));
    }
  }
  for (; at < frames; at += 4) _mm_storeu_ps(into + at, _mm_add_ps(_mm_loadu_ps(into + at), _mm_loadu_ps(from + at)));
}

[[gnu::target("avx2")]] void triadAVX2(float* into, const float* from, std::int64_t frames) noexcept {
  std::int64_t at = 0;
  for (; at + registers * 8 <= frames; at += registers * 8) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 8; i += 8) {
      _mm256_storeu_ps(into + i, _mm256_add_ps(_mm256_loadu_ps(into + i), _mm256_loadu_ps(from + i)));
    }
  }
  for (; at < frames; at += 8) {
    _mm256_storeu_ps(into + at, _mm256_add_ps(_mm256_loadu_ps(into + at), _mm256_loadu_ps(from + at)));
  }
}

[[gnu::target("sse2")]] void copySSE2(float* into, const float* from, std::int64_t frames) noexcept {
  std::int64_t at = 0;
  for (; at + registers * 4 <= frames; at += registers * 4) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 4; i += 4) _mm_storeu_ps(into + i, _mm_loadu_ps(from + i));
  }
  for (; at < frames; at += 4) _mm_storeu_ps(into + at, _mm_loadu_ps(from + at));
}

[[gnu::target("avx2")]] void copyAVX2(float* into, const float* from, std::int64_t frames) noexcept {
  std::int64_t at = 0;
  for (; at + registers * 8 <= frames; at += registers * 8) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 8; i += 8) _mm256_storeu_ps(into + i, _mm256_loadu_ps(from + i));
  }
  for (; at < frames; at += 8) _mm256_storeu_ps(into + at, _mm256_loadu_ps(from + at));
}

// The empty assembly keeps the compiler from seeing that what is written is there already.

[[gnu::target("sse2")]] void loadStoreSSE2(float* samples, std::int64_t frames) noexcept {
  for (std::int64_t at = 0; at < frames; at += registers * 4) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 4; i += 4) {
      __m128 held = _mm_loadu_ps(samples + i);
      asm volatile("" : "+x"(held));
      _mm_storeu_ps(samples + i, held);
    }
  }
}

[[gnu::target("avx2")]] void loadStoreAVX2(float* samples, std::int64_t frames) noexcept {
  for (std::int64_t at = 0; at < frames; at += registers * 8) {
#pragma GCC unroll 8
    for (std::int64_t i = at; i < at + registers * 8; i += 8) {
      __m256 held = _mm256_loadu_ps(samples + i);
      asm volatile("" : "+x"(held));
      _mm256_storeu_ps(samples + i, held);
    }
  }
}

}  // namespace

std::span<const BoundedKernels> boundedKernels() {
  static const std::vector<BoundedKernels> all = [] {
    const Bounds bounds[] = {{.triad = triadSSE2, .copy = copySSE2, .loadStore = loadStoreSSE2},
                             {.triad = triadAVX2, .copy = copyAVX2, .loadStore = loadStoreAVX2}};
    std::vector<BoundedKernels> made;
    // The first set is the plain loops.
    const std::span<const Kernels> sets = availableKernels();
    for (std::size_t i = 1; i < sets.size(); ++i) made.push_back({.kernels = &sets[i], .bounds = bounds[i - 1]});
    return made;
  }();
  return all;
}

}  // namespace brindlemux::bench
