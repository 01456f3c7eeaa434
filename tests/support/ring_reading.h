#pragma once

#include <cstdint>
#include <vector>

#include "engine/source_ring.h"

namespace brindlemux::test {

/// The first `frames` frames that were ever written to one channel of a ring, which has not been written much beyond
/// them: a reader is moved once it lags by more than its slack.
inline std::vector<float> firstFrames(SourceRing& ring, std::int64_t channel, std::int64_t frames) {
  std::vector<float> samples(static_cast<std::size_t>(frames), 0.0F);
  float* buffer = samples.data();
  const Tap tap = {.src = channel, .out = 0, .gain = 1.0F};
  std::int64_t cursor = 0;
  ring.mixRead(frames, cursor, {&buffer, 1}, {&tap, 1});
  samples.resize(static_cast<std::size_t>(cursor));
  return samples;
}

}  // namespace brindlemux::test
