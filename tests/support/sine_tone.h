#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace brindlemux::test {

/// amplitude * sin(2 pi frequency n / rate) for n = 0 .. frames - 1, computed in double and rounded once.
inline std::vector<float> sineTone(std::size_t frames, double frequencyHz, double amplitude, double sampleRateHz) {
  std::vector<float> tone(frames);
  for (std::size_t frame = 0; frame < frames; ++frame) {
    const double phase = 2 * std::numbers::pi * frequencyHz * static_cast<double>(frame) / sampleRateHz;
    tone[frame] = static_cast<float>(amplitude * std::sin(phase));
  }
  return tone;
}

}  // namespace brindlemux::test
