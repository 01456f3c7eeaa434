#pragma once

#include <cstdint>

namespace brindlemux {

/// Frames of a ring that are borrowed for reading: `frames` of them, at most `capacity`, beginning in slot `start`,
/// which is below the capacity. They go on in slot 0 where the ring ends. Channel c occupies the `capacity` floats from
/// `samples + c * capacity` on.
struct RingWindow {
  const float* samples;
  std::int64_t channels;
  std::int64_t capacity;
  std::int64_t start;
  std::int64_t frames;
};

}  // namespace brindlemux
