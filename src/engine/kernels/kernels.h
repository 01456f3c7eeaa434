#pragma once

#include <cstdint>
#include <span>

#include "engine/kernels/scaled_input.h"

namespace brindlemux {

/// One set of the sample loops, all of them for the same processors. Every set gives the same results to the last bit.
/// What each loop does is told where it is declared: add_scaled.h, copy_with_peak.h, limit_with_peak.h,
/// peak_magnitude.h.
struct Kernels {
  const char* name;
  void (*addScaled)(float* into, const ScaledInput* inputs, std::int64_t count, std::int64_t skip,
                    std::int64_t frames) noexcept;
  float (*copyWithPeak)(float* into, const float* from, std::int64_t frames) noexcept;
  float (*limitWithPeak)(float* samples, std::int64_t frames) noexcept;
  float (*peakMagnitude)(const float* samples, std::int64_t frames) noexcept;
};

/// The sets that this processor can run, the plain loops first and the fastest last. Threads: any.
std::span<const Kernels> availableKernels() noexcept;

/// The fastest of them, chosen once, when the program starts. Threads: any.
const Kernels& fastestKernels() noexcept;

}  // namespace brindlemux
