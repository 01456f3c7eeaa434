#pragma once

#include <cstdint>
#include <span>

#include "engine/kernels/peak_lanes.h"
#include "engine/kernels/planar_window.h"
#include "engine/tap.h"

namespace brindlemux {

/// One set of the sample loops, all of them for the same processors. Every set gives the same results to the last bit.
/// What each loop does is told where it is declared: add_taps.h, copy_with_peak.h, limit_with_peak.h,
/// peak_magnitude.h.
struct Kernels {
  const char* name;
  void (*addTaps)(const PlanarWindow& window, std::int64_t at, std::span<float* const> outputs,
                  std::span<const Tap> taps) noexcept;
  void (*copyWithPeak)(float* into, const float* from, std::int64_t frames, PeakLanes& peak) noexcept;
  float (*limitWithPeak)(float* samples, std::int64_t frames) noexcept;
  float (*peakMagnitude)(const float* samples, std::int64_t frames) noexcept;
};

/// The sets that this processor can run, the plain loops first and the fastest last. Threads: any.
std::span<const Kernels> availableKernels() noexcept;

/// The fastest of them, chosen once, when the program starts. Threads: any.
const Kernels& fastestKernels() noexcept;

}  // namespace brindlemux
