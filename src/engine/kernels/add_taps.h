#pragma once

#include <cstdint>
#include <span>

#include "engine/kernels/planar_window.h"
#include "engine/tap.h"

/// Adds taps of a window into outputs, from frame `at` of these on, one tap after the other: output[at + i] =
/// output[at + i] + gain * channel[i], the product and the sum each rounded to 32-bit float. Taps whose channel or
/// output is out of range are skipped.
///
/// The vector variants add neighbours in the list that share an output in one pass, with the sums held in registers.
/// Their order is kept, so that the result is the same, but each output sample is read and written once.
///
/// Shapes:  every output holds `at + window.frames` floats; none overlaps the window or another.
/// Threads: any; never allocates. The AVX2 variant needs a processor that has it.
/// Source:  plain::addTaps is the definition; the others are equal to the last bit. Only where two NaNs meet in one sum
///          or product is it left open which one's payload survives, as it is in the language.
namespace brindlemux {

namespace plain {
void addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
             std::span<const Tap> taps) noexcept;
}

#if defined(__x86_64__)
namespace sse2 {
void addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
             std::span<const Tap> taps) noexcept;
}
namespace avx2 {
void addTaps(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
             std::span<const Tap> taps) noexcept;
}
#endif

}  // namespace brindlemux
