#include "costs/delay.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <utility>

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

/// Counts the blocks in which the far recording is not the sum of the delayed origins.
void countBlocks(std::span<const std::vector<float>> origins, const std::vector<float>& far, std::size_t blockFrames,
                 Delays& delays) {
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
}

/// Takes each of some delays for each of the origins in turn.
class BestDelays {
 public:
  BestDelays(std::span<const std::vector<float>> origins, std::vector<std::size_t> candidates)
      : origins_(origins), candidates_(std::move(candidates)), tried_(origins.size()) {}

  /// The ones that leave the least of the last frames over: a largest sample that is the smallest.
  std::vector<std::size_t> of(const std::vector<float>& far) {
    choose(0, {far.end() - std::ptrdiff_t{comparedFrames}, far.end()});
    return best_;
  }

 private:
  static constexpr std::size_t comparedFrames = 4096;

  void choose(std::size_t origin, const std::vector<float>& rest) {
    if (origin == origins_.size()) return judge(rest);
    std::vector<float> next(comparedFrames);
    for (const std::size_t delay : candidates_) {
      tried_[origin] = delay;
      const float* const played = origins_[origin].data() + origins_[origin].size() - comparedFrames - delay;
      for (std::size_t i = 0; i < comparedFrames; ++i) next[i] = rest[i] - played[i];
      choose(origin + 1, next);
    }
  }

  void judge(const std::vector<float>& rest) {
    const float largest = std::ranges::max(rest, {}, [](float sample) { return std::abs(sample); });
    const float left = std::max(std::abs(largest), tolerance);
    // Two that play the same at different times may change places: then it is the choice whose latest is the earliest.
    if (left > least_) return;
    if (left == least_ && std::ranges::max(tried_) >= std::ranges::max(best_)) return;
    least_ = left;
    best_ = tried_;
  }

  const std::span<const std::vector<float>> origins_;
  const std::vector<std::size_t> candidates_;
  std::vector<std::size_t> tried_;
  std::vector<std::size_t> best_;
  float least_ = std::numeric_limits<float>::infinity();
};

bool isLongEnough(const std::vector<float>& far, std::size_t blockFrames) {
  return far.size() >= chirpFrames + longestDelay && blockFrames > 0;
}

}  // namespace

Delays delaysOf(std::span<const std::vector<float>> origins, const std::vector<float>& far, std::size_t blockFrames) {
  Delays delays;
  if (!isLongEnough(far, blockFrames)) return delays;
  for (const auto& origin : origins) delays.frames.push_back(delayOf(origin, far));
  countBlocks(origins, far, blockFrames, delays);
  return delays;
}

Delays delaysOfAlike(std::span<const std::vector<float>> origins, const std::vector<float>& far,
                     std::size_t blockFrames) {
  Delays delays;
  if (!isLongEnough(far, blockFrames)) return delays;
  std::vector<float> all(far.size());
  for (const auto& origin : origins) std::ranges::transform(all, origin, all.begin(), std::plus());
  std::vector<std::size_t> candidates = {delayOf(all, far)};
  constexpr std::size_t mostBlocks = 5;
  for (std::size_t blocks = 0; blocks <= mostBlocks && blocks * blockFrames <= longestDelay; ++blocks) {
    candidates.push_back(blocks * blockFrames);
  }
  delays.frames = BestDelays(origins, std::move(candidates)).of(far);
  countBlocks(origins, far, blockFrames, delays);
  return delays;
}

}  // namespace brindlemux::bench
