#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "benches.h"
#include "bounds.h"
#include "engine/planar_buffer.h"
#include "engine/source_ring.h"
#include "side_by_side.h"

namespace brindlemux::bench {
namespace {

constexpr std::int64_t maximumFrames = 512;

/// Which ring channels are read, into which outputs.
struct Shape {
  std::string name;
  std::int64_t channels;
  std::int64_t outputs;
  std::vector<Tap> taps;
};

/// Tap i from channel i into output i.
Shape parallel(std::int64_t taps) {
  Shape shape = {.name = std::to_string(taps) + (taps == 1 ? " tap" : " taps to as many outputs"),
                 .channels = taps,
                 .outputs = taps,
                 .taps = {}};
  for (std::int64_t i = 0; i < taps; ++i) shape.taps.push_back({.src = i, .out = i, .gain = 0.5F});
  return shape;
}

/// Every channel into every output, in the order that plans have.
Shape crossed(std::int64_t channels, std::int64_t outputs) {
  Shape shape = {.name = std::to_string(channels * outputs) + " taps, " + std::to_string(channels) + " to " +
                         std::to_string(outputs),
                 .channels = channels,
                 .outputs = outputs,
                 .taps = {}};
  for (std::int64_t output = 0; output < outputs; ++output) {
    for (std::int64_t source = 0; source < channels; ++source) {
      shape.taps.push_back({.src = source, .out = output, .gain = 0.5F});
    }
  }
  return shape;
}

/// A ring and the outputs that are read into, and for the bound the same amount of memory, laid out alike.
struct Bench {
  Bench(const Shape& wanted, const Kernels& kernels)
      : shape(wanted),
        ring(wanted.channels, captureRingFrames, kernels),
        boundRing(static_cast<std::size_t>(wanted.channels * captureRingFrames), 1.0F),
        outputs(wanted.outputs, maximumFrames) {}

  void fillTo(std::int64_t position) {
    const std::vector<float> block(1000, 1.0F);
    const std::array<const float*, 1> channel = {block.data()};
    while (ring.head() < position) {
      ring.write({.frames = std::min<std::int64_t>(1000, position - ring.head()), .planar = channel});
    }
  }

  const Shape shape;
  SourceRing ring;
  AlignedFloats boundRing;
  PlanarBuffer outputs;
};

std::function<void(std::int64_t)> bound(const std::shared_ptr<Bench>& bench, const BoundedKernels& set,
                                        std::int64_t frames) {
  return [bench, frames, triad = set.bounds.triad](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      for (const Tap& tap : bench->shape.taps) {
        triad(bench->outputs.channel(tap.out), bench->boundRing.data() + tap.src * captureRingFrames + 1003, frames);
      }
    }
  };
}

void add(const Shape& shape, const BoundedKernels& set, std::int64_t frames, bool wraps,
         std::optional<double> atLeast) {
  const auto bench = std::make_shared<Bench>(shape, *set.kernels);
  // No multiple of a register's length, and of a cache line's neither.
  const std::int64_t start = wraps ? captureRingFrames - frames / 2 - 3 : 1003;
  bench->fillTo(start + frames + 5);
  Comparison comparison;
  comparison.what = "mixRead " + std::string(set.kernels->name) + ", " + std::to_string(frames) + " frames, " +
                    shape.name + (wraps ? ", wrapping" : "");
  comparison.operation = [bench, start, frames](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      std::int64_t cursor = start;
      bench->ring.mixRead(frames, cursor, bench->outputs.channels(), bench->shape.taps);
    }
  };
  comparison.bound = bound(bench, set, frames);
  comparison.atLeast = atLeast;
  compare(std::move(comparison));
}

/// What no read can do better than while it holds a lock: the bound with an uncontended lock around it.
void addLockedBound(const Shape& shape, const BoundedKernels& set, std::int64_t frames) {
  const auto bench = std::make_shared<Bench>(shape, *set.kernels);
  const auto lock = std::make_shared<UnfairLock>();
  Comparison comparison;
  comparison.what = "a lock around the bound alone, " + std::to_string(frames) + " frames, " + shape.name;
  comparison.bound = bound(bench, set, frames);
  comparison.operation = [lock, once = comparison.bound](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      const std::lock_guard guard(*lock);
      once(1);
    }
  };
  compare(std::move(comparison));
}

}  // namespace

void registerMixing() {
  using Floors = std::map<std::int64_t, double>;
  const Floors one = {{64, 0.32}, {128, 0.59}, {256, 0.67}, {512, 0.80}};
  const Floors several = {{64, 0.77}, {128, 0.83}, {256, 0.83}, {512, 0.83}};
  const Floors wrapped = {{64, 0.54}, {128, 0.73}, {256, 0.75}, {512, 0.83}};
  for (const BoundedKernels& set : boundedKernels()) {
    const bool narrow = std::string(set.kernels->name) == "SSE2";
    for (const auto& [frames, floor] : one) {
      add(parallel(1), set, frames, false, narrow ? std::nullopt : std::optional(floor));
    }
    for (const Shape& shape : {parallel(4), crossed(2, 2), crossed(4, 1), parallel(8), parallel(16)}) {
      for (const auto& [frames, floor] : several) add(shape, set, frames, false, narrow ? 0.5 : floor);
    }
    for (const Shape& shape : {parallel(4), crossed(2, 2), crossed(4, 1), parallel(8)}) {
      for (const auto& [frames, floor] : wrapped) {
        add(shape, set, frames, true, narrow ? std::nullopt : std::optional(floor));
      }
    }
    for (const Shape& shape : {crossed(16, 1), crossed(4, 4), crossed(16, 2)}) {
      for (const std::int64_t frames : {64, 128, 256, 512}) add(shape, set, frames, false, narrow ? 0.5 : 1.2);
    }
  }
  for (const Shape& shape : {parallel(1), parallel(4)}) {
    for (const std::int64_t frames : {64, 128, 256, 512}) addLockedBound(shape, boundedKernels().back(), frames);
  }
}

}  // namespace brindlemux::bench
