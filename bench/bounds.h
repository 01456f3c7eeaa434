#pragma once

#include <cstdint>
#include <span>

#include "engine/kernels/kernels.h"

namespace brindlemux::bench {

/// What memory allows with the registers of one set of kernels: the least that a mix, a write and a pass in place can
/// do.
struct Bounds {
  /// into[i] = into[i] + from[i]
  void (*triad)(float* into, const float* from, std::int64_t frames) noexcept;
  /// into[i] = from[i]
  void (*copy)(float* into, const float* from, std::int64_t frames) noexcept;
  /// Reads every sample and writes it back.
  void (*loadStore)(float* samples, std::int64_t frames) noexcept;
};

/// A vector set that the processor can run, beside the bounds of the same width.
struct BoundedKernels {
  const Kernels* kernels;
  Bounds bounds;
};

/// Every vector set, the fastest last.
std::span<const BoundedKernels> boundedKernels();

}  // namespace brindlemux::bench
