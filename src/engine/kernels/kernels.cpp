#include "engine/kernels/kernels.h"

#include <cstddef>

#include "engine/kernels/add_taps.h"
#include "engine/kernels/copy_with_peak.h"
#include "engine/kernels/limit_with_peak.h"
#include "engine/kernels/peak_magnitude.h"

namespace brindlemux {
namespace {

// AVX-512 gains nothing at the lengths of audio blocks.
constexpr Kernels sets[] = {
    {.name = "plain",
     .addTaps = plain::addTaps,
     .copyWithPeak = plain::copyWithPeak,
     .limitWithPeak = plain::limitWithPeak,
     .peakMagnitude = plain::peakMagnitude},
#if defined(__x86_64__)
    {.name = "SSE2",
     .addTaps = sse2::addTaps,
     .copyWithPeak = sse2::copyWithPeak,
     .limitWithPeak = sse2::limitWithPeak,
     .peakMagnitude = sse2::peakMagnitude},
    {.name = "AVX2",
     .addTaps = avx2::addTaps,
     .copyWithPeak = avx2::copyWithPeak,
     .limitWithPeak = avx2::limitWithPeak,
     .peakMagnitude = avx2::peakMagnitude},
#endif
};

std::size_t countAvailable() noexcept {
#if defined(__x86_64__)
  // This may run before the constructor that fills in what the question reads.
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx2") ? 3 : 2;
#else
  return 1;
#endif
}

}  // namespace

std::span<const Kernels> availableKernels() noexcept {
  static const std::size_t count = countAvailable();
  return std::span(sets).first(count);
}

const Kernels& fastestKernels() noexcept { return availableKernels().back(); }

}  // namespace brindlemux
