#pragma once

#include <algorithm>

namespace brindlemux {

/// A running peak in as many parts as a vector register has: the largest lane is the peak. Which lane a sample raises
/// is left to the kernel, so that none has to bring its lanes together while a lock is held.
struct alignas(32) PeakLanes {
  float lanes[8] = {};

  float largest() const noexcept { return *std::max_element(lanes, lanes + 8); }
};

}  // namespace brindlemux
