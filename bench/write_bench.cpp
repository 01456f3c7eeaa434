#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "benches.h"
#include "bounds.h"
#include "engine/source_ring.h"
#include "engine/unfair_lock.h"
#include "side_by_side.h"

namespace brindlemux::bench {
namespace {

/// Long enough that few writes wrap, short enough for a stereo ring to stay in the first-level cache; odd, so that
/// every alignment is met.
std::int64_t ringFrames(std::int64_t channels, std::int64_t frames) {
  constexpr std::int64_t cachedSamples = 8192;
  return std::max(8 * frames, cachedSamples / channels) + 1;
}

struct Bench {
  Bench(std::int64_t channels, std::int64_t frames, const Kernels& kernels)
      : length(ringFrames(channels, frames)),
        ring(channels, length, kernels),
        boundRing(static_cast<std::size_t>(channels * length)),
        samples(static_cast<std::size_t>(channels * frames), 0.5F) {
    for (std::int64_t i = 0; i < channels; ++i) sources.push_back(samples.data() + i * frames);
  }

  const std::int64_t length;
  SourceRing ring;
  AlignedFloats boundRing;
  std::vector<float> samples;
  std::vector<const float*> sources;
};

/// Walks through memory as the ring does, but without splitting a block. The place where it stands lives on, so that a
/// call for one time goes on where the one before it ended.
std::function<void(std::int64_t)> bound(const std::shared_ptr<Bench>& bench, const BoundedKernels& set,
                                        std::int64_t frames) {
  return [bench, frames, copy = set.bounds.copy, slot = std::int64_t{0}](std::int64_t times) mutable {
    for (std::int64_t i = 0; i < times; ++i) {
      float* into = bench->boundRing.data() + slot;
      for (const float* source : bench->sources) {
        copy(into, source, frames);
        into += bench->length;
      }
      slot += frames;
      if (slot + frames > bench->length) slot -= bench->length - frames - 1;
    }
  };
}

void add(std::int64_t channels, const BoundedKernels& set, std::int64_t frames, std::optional<double> atLeast) {
  const auto bench = std::make_shared<Bench>(channels, frames, *set.kernels);
  Comparison comparison;
  comparison.what = "write with peaks " + std::string(set.kernels->name) + ", " + std::to_string(frames) + " frames, " +
                    std::to_string(channels) + " channels";
  comparison.operation = [bench, frames](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) bench->ring.write({.frames = frames, .planar = bench->sources});
  };
  comparison.bound = bound(bench, set, frames);
  comparison.atLeast = atLeast;
  compare(std::move(comparison));
}

/// What no write can do better than while it holds a lock: the copy with an uncontended lock around it.
void addLockedBound(std::int64_t channels, const BoundedKernels& set, std::int64_t frames) {
  const auto bench = std::make_shared<Bench>(channels, frames, *set.kernels);
  const auto lock = std::make_shared<UnfairLock>();
  Comparison comparison;
  comparison.what =
      "a lock around the copy alone, " + std::to_string(frames) + " frames, " + std::to_string(channels) + " channels";
  comparison.bound = bound(bench, set, frames);
  comparison.operation = [lock, once = bound(bench, set, frames)](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      const std::lock_guard guard(*lock);
      once(1);
    }
  };
  compare(std::move(comparison));
}

}  // namespace

void registerWriting() {
  const std::map<std::int64_t, double> stereo = {{64, 0.35}, {128, 0.48}, {256, 0.70}, {512, 0.70}};
  for (const BoundedKernels& set : boundedKernels()) {
    const bool narrow = std::string(set.kernels->name) == "SSE2";
    for (const auto& [frames, floor] : stereo) add(2, set, frames, narrow ? std::nullopt : std::optional(floor));
    for (const std::int64_t frames : {64, 128, 256, 512}) {
      add(16, set, frames, narrow ? std::nullopt : std::optional(0.70));
    }
  }
  for (const std::int64_t channels : {2, 16}) {
    for (const std::int64_t frames : {64, 128, 256, 512}) addLockedBound(channels, boundedKernels().back(), frames);
  }
}

}  // namespace brindlemux::bench
