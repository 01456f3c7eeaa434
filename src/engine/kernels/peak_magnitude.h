#pragma once

#include <cstdint>

/// The largest magnitude of `frames` samples, 0 for none; a NaN never counts.
///
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::peakMagnitude is the definition; the others are equal to the last bit.
namespace brindlemux {

namespace plain {
float peakMagnitude(const float* samples, std::int64_t frames) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
float peakMagnitude(const float* samples, std::int64_t frames) noexcept;
}
namespace avx2 {
float peakMagnitude(const float* samples, std::int64_t frames) noexcept;
}
#endif

}  // namespace brindlemux
