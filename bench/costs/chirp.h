#pragma once

#include <cmath>
#include <cstddef>
#include <numbers>
#include <vector>

namespace brindlemux::bench {

inline constexpr int sampleRateHz = 48000;

/// Frames after which a chirp begins again: longer than any delay that is looked for.
inline constexpr std::size_t chirpFrames = 16384;

/// A sine whose frequency rises or falls evenly. Chirps of different sweeps do not resemble each other, so that each is
/// found in their sum.
struct Chirp {
  double firstHz = 0;
  double lastHz = 0;
};

/// What the applications and the microphone play, in this order.
inline constexpr Chirp chirps[] = {{200, 8000}, {9000, 300}, {8500, 16000}};
inline constexpr std::size_t chirpCount = std::size(chirps);

/// All three together on four devices stay below full scale, and one device's sum below the limiter's knee.
inline constexpr double chirpLevel = 0.2;

inline std::vector<float> chirpSamples(const Chirp& chirp) {
  std::vector<float> samples(chirpFrames);
  for (std::size_t i = 0; i < chirpFrames; ++i) {
    const double time = static_cast<double>(i) / sampleRateHz;
    const double rise = (chirp.lastHz - chirp.firstHz) * sampleRateHz / static_cast<double>(chirpFrames);
    const double turns = chirp.firstHz * time + rise * time * time / 2;
    samples[i] = static_cast<float>(chirpLevel * std::sin(2 * std::numbers::pi * turns));
  }
  return samples;
}

}  // namespace brindlemux::bench
