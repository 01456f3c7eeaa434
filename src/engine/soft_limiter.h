#pragma once

#include <span>

#include "engine/kernels/limit_with_peak.h"

namespace brindlemux {

/// Limits every sample in place, by the rule of limit_with_peak.h with the fastest kernels, and returns the largest
/// magnitude that is left. Threads: any; never allocates.
float softLimit(std::span<float> samples) noexcept;

}  // namespace brindlemux
