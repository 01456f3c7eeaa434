#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "benches.h"
#include "engine/kernels/kernels.h"
#include "side_by_side.h"

namespace brindlemux::bench {
namespace {

constexpr std::int64_t frames = 128;
constexpr std::int64_t stride = frames + 8;
constexpr std::int64_t tapCount = 4;

struct Bench {
  Bench() {
    for (std::int64_t i = 0; i < tapCount; ++i) taps.push_back({.src = i, .gain = 0.5F});
  }

  std::vector<float> samples = std::vector<float>(tapCount * stride, 0.5F);
  std::vector<Tap> taps;
  PlanarWindow window = {.samples = samples.data() + 3, .channels = tapCount, .stride = stride, .frames = frames};
  PeakLanes peak;
  std::vector<float> output = std::vector<float>(frames);
  std::array<float*, 1> outputs = {output.data()};
};

/// A vector set stays only where it is faster than the set before it.
void add(const Kernels& set, const Kernels& before, const std::string& what, void (*run)(const Kernels&, Bench&)) {
  const auto bench = std::make_shared<Bench>();
  Comparison comparison;
  comparison.what = what + ", " + set.name + " against " + before.name;
  comparison.operation = [bench, &set, run](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) run(set, *bench);
  };
  comparison.bound = [bench, &before, run](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) run(before, *bench);
  };
  comparison.atLeast = 1.0;
  compare(std::move(comparison));
}

}  // namespace

void registerKernels() {
  const std::span<const Kernels> sets = availableKernels();
  for (std::size_t i = 1; i < sets.size(); ++i) {
    add(sets[i], sets[i - 1], "128 frames, 1 tap added", [](const Kernels& set, Bench& bench) {
      set.addTaps(bench.window, 0, bench.outputs, std::span(bench.taps).first(1));
    });
    add(sets[i], sets[i - 1], "128 frames, 4 taps added",
        [](const Kernels& set, Bench& bench) { set.addTaps(bench.window, 0, bench.outputs, bench.taps); });
    add(sets[i], sets[i - 1], "128 frames copied with peak", [](const Kernels& set, Bench& bench) {
      set.copyWithPeak(bench.output.data(), bench.samples.data() + 3, frames, bench.peak);
    });
    add(sets[i], sets[i - 1], "128 frames scanned for the peak", [](const Kernels& set, Bench& bench) {
      benchmark::DoNotOptimize(set.peakMagnitude(bench.samples.data() + 3, frames));
    });
    add(sets[i], sets[i - 1], "128 quiet frames limited", [](const Kernels& set, Bench& bench) {
      benchmark::DoNotOptimize(set.limitWithPeak(bench.samples.data() + 3, frames));
    });
  }
}

}  // namespace brindlemux::bench
