#pragma once

#include <cstdint>

namespace brindlemux {

/// Planar samples that are borrowed for reading: channel c is the `frames` floats from `samples + c * stride` on.
struct PlanarWindow {
  const float* samples;
  std::int64_t channels;
  std::int64_t stride;
  std::int64_t frames;
};

}  // namespace brindlemux
