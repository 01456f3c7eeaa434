#pragma once

#include <cstdint>

#include "engine/kernels/peak_lanes.h"

/// Copies samples to the last bit and raises a running peak to their largest magnitude; a NaN never counts.
///
/// Shapes:  both hold `frames` floats and do not overlap.
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::copyWithPeak is the definition; the others are equal to the last bit, save for which lane holds the
///          peak.
namespace brindlemux {

namespace plain {
void copyWithPeak(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
void copyWithPeak(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept;
}
namespace avx2 {
void copyWithPeak(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept;
}
#endif

}  // namespace brindlemux
