#include "engine/soft_limiter.h"

#include <cstdint>

#include "engine/kernels/kernels.h"

namespace brindlemux {
namespace {

const Kernels& kernels = fastestKernels();

}  // namespace

float softLimit(std::span<float> samples) noexcept {
  return kernels.limitWithPeak(samples.data(), static_cast<std::int64_t>(samples.size()));
}

}  // namespace brindlemux
