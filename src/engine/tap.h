#pragma once

#include <cstdint>

namespace brindlemux {

/// One scaled connection of a mix: ring channel `src` into output buffer `out`. `gain` is linear.
struct Tap {
  std::int64_t src = 0;
  std::int64_t out = 0;
  float gain = 1.0F;

  friend bool operator==(const Tap&, const Tap&) = default;
};

}  // namespace brindlemux
