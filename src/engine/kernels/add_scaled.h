#pragma once

#include <cstdint>

#include "engine/kernels/scaled_input.h"

/// Adds several scaled inputs into one output in one pass: into[i] = (into[i] + gain0 * in0[skip + i]) + gain1 * ...,
/// in the order of the inputs, every product and every sum rounded to 32-bit float. That is the result of adding one
/// input after the other, but each output sample is read and written once.
///
/// Shapes:  `into` holds `frames` floats, each input `skip + frames`; `into` overlaps none of them.
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::addScaled is the definition; the others are equal to the last bit. Only where two NaNs meet in one
///          sum or product is it left open which one's payload survives, as it is in the language.
namespace brindlemux {

namespace plain {
void addScaled(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
               std::int64_t frames) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
void addScaled(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
               std::int64_t frames) noexcept;
}
namespace avx2 {
void addScaled(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
               std::int64_t frames) noexcept;
}
#endif

}  // namespace brindlemux
