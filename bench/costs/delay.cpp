#include "costs/delay.h"

#include <algorithm>
#include <cmath>

#include "costs/chirp.h"

namespace brindlemux::bench {
namespace {

constexpr std::size_t longestDelay = 12288;

/// 60 dB below one chirp's level.
constexpr float tolerance = static_cast<float>(chirpLevel) / 1000;

double correlation(const float* first, const float* second) {
  // Eight sums that do not wait for each other.
  float lanes[8] = {};
  double total = 0;
  constexpr std::size_t lot = 512;
  for (std::size_t begin = 0; begin < chirpFrames; begin += lot) {
    std::ranges::fill(lanes, 0.0F);
    for (std::size_t i = begin; i < begin + lot; i += 8) {
      for (std::size_t lane = 0; lane < 8; ++lane) lanes[lane] += first[i + lane] * second[i + lane];
    }
    for (const float lane : lanes) total += double{lane};
  }
  return total;
}

std::size_t delayOf(const std::vector<float>& origin, const std::vector<float>& far) {
  std::size_t best = 0;
  double most = 0;
  const float* const heard = far.data() + far.size() - chirpFrames;
  const float* const played = origin.data() + origin.size() - chirpFrames;
  for (std::size_t delay = 0; delay < longestDelay; ++delay) {
    const double likeness = correlation(heard, played - delay);
    if (likeness > most) {
      most = likeness;
      best = delay;
    }
  }
  return best;
}

}  // namespace

Delays delaysOf(std::span<const std::vector<float>> origins, const std::vector<float>& far, std::size_t blockFrames) {
  Delays delays;
  if (far.size() < chirpFrames + longestDelay || blockFrames == 0) return delays;
  for (const auto& origin : origins) delays.frames.push_back(delayOf(origin, far));
  for (std::size_t begin = longestDelay; begin + blockFrames <= far.size(); begin += blockFrames) {
    bool isOff = false;
    for (std::size_t i = begin; i < begin + blockFrames; ++i) {
      float expected = 0;
      for (std::size_t origin = 0; origin < origins.size(); ++origin) {
        expected += origins[origin][i - delays.frames[origin]];
      }
      isOff = isOff || !(std::abs(far[i] - expected) < tolerance);
    }
    delays.blocksOff += isOff ? 1 : 0;
    ++delays.blocks;
  }
  return delays;
}

}  // namespace brindlemux::bench
