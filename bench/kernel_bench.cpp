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
constexpr std::size_t inputCount = 4;

struct Bench {
  Bench() {
    for (const std::vector<float>& source : sources) inputs.push_back({.samples = source.data(), .gain = 0.5F});
  }

  std::vector<std::vector<float>> sources{inputCount, std::vector<float>(frames + 8, 0.5F)};
  std::vector<ScaledInput> inputs;
  std::vector<float> output = std::vector<float>(frames);
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
    add(sets[i], sets[i - 1], "128 frames, 1 input added", [](const Kernels& set, Bench& bench) {
      set.addScaled(bench.output.data(), bench.inputs.data(), 1, 3, frames);
    });
    add(sets[i], sets[i - 1], "128 frames, 4 inputs added", [](const Kernels& set, Bench& bench) {
      set.addScaled(bench.output.data(), bench.inputs.data(), inputCount, 3, frames);
    });
    add(sets[i], sets[i - 1], "128 frames copied with peak", [](const Kernels& set, Bench& bench) {
      benchmark::DoNotOptimize(set.copyWithPeak(bench.output.data(), bench.sources[0].data() + 3, frames));
    });
    add(sets[i], sets[i - 1], "128 frames scanned for the peak", [](const Kernels& set, Bench& bench) {
      benchmark::DoNotOptimize(set.peakMagnitude(bench.sources[0].data() + 3, frames));
    });
    add(sets[i], sets[i - 1], "128 quiet frames limited", [](const Kernels& set, Bench& bench) {
      benchmark::DoNotOptimize(set.limitWithPeak(bench.sources[0].data() + 3, frames));
    });
  }
}

}  // namespace brindlemux::bench
