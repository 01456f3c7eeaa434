#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "benches.h"
#include "bounds.h"
#include "side_by_side.h"

namespace brindlemux::bench {
namespace {

void add(const BoundedKernels& set, const std::string& what, float level, std::optional<double> atMost) {
  constexpr std::int64_t frames = 512;
  const auto samples = std::make_shared<std::vector<float>>(frames);
  Comparison comparison;
  comparison.what = "limiter with peaks " + std::string(set.kernels->name) + ", 512 frames, " + what;
  // What is limited over and over sinks to the knee, so every measurement begins anew.
  comparison.prepare = [samples, level] {
    for (std::size_t i = 0; i < samples->size(); ++i) (*samples)[i] = i % 2 == 0 ? level : -level;
  };
  comparison.prepareBound = comparison.prepare;
  comparison.operation = [samples, limit = set.kernels->limitWithPeak](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) benchmark::DoNotOptimize(limit(samples->data(), frames));
  };
  comparison.bound = [samples, loadStore = set.bounds.loadStore](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) loadStore(samples->data(), frames);
  };
  comparison.figure = Comparison::Figure::timesTheBound;
  comparison.atMost = atMost;
  compare(std::move(comparison));
}

}  // namespace

void registerLimiting() {
  for (const BoundedKernels& set : boundedKernels()) {
    const bool narrow = std::string(set.kernels->name) == "SSE2";
    add(set, "nothing exceeds", 0.5F, narrow ? std::nullopt : std::optional(2.6));
    add(set, "everything exceeds", 4.0F, narrow ? std::nullopt : std::optional(8.0));
  }
}

}  // namespace brindlemux::bench
