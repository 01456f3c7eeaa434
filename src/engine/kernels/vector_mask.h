#pragma once

#if defined(__x86_64__)

#include <cstdint>
#include <immintrin.h>

namespace brindlemux {

/// The mask of the first `count` of a register's eight lanes, 0 to 8. Lanes that a mask leaves out are neither read nor
/// written.
[[gnu::always_inline, gnu::target("avx2")]] inline __m256i firstLanes(std::int64_t count) noexcept {
  alignas(64) static constexpr std::int32_t masks[16] = {-1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0};
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(masks + 8 - count));
}

}  // namespace brindlemux

#endif
