#pragma once

#include <cstdint>

/// Copies samples to the last bit and returns their largest magnitude, 0 for none; a NaN never counts.
///
/// Shapes:  both hold `frames` floats and do not overlap.
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::copyWithPeak is the definition; the others are equal to the last bit.
namespace brindlemux {

namespace plain {
float copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
float copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept;
}
namespace avx2 {
float copyWithPeak(float* into, const float* from, std::int64_t frames) noexcept;
}
#endif

}  // namespace brindlemux
