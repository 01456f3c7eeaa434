#include "side_by_side.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>
#include <vector>

namespace brindlemux::bench {
namespace {

using Seconds = std::chrono::duration<double>;

/// Looks at the clock and nothing else, which is part of every measurement.
double clockSeconds() {
  static const double shortest = [] {
    double least = 1;
    for (int i = 0; i < 10000; ++i) {
      const auto begin = std::chrono::steady_clock::now();
      least = std::min(least, Seconds(std::chrono::steady_clock::now() - begin).count());
    }
    return least;
  }();
  return shortest;
}

double secondsOf(const std::function<void(std::int64_t)>& operation, std::int64_t times) {
  const auto begin = std::chrono::steady_clock::now();
  operation(times);
  const double seconds = Seconds(std::chrono::steady_clock::now() - begin).count() - clockSeconds();
  return std::max(seconds, 1e-12) / static_cast<double>(times);
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

double figureOf(Comparison::Figure figure, double seconds, double ratio) {
  constexpr double blockSeconds = 64.0 / 48000.0;
  switch (figure) {
    case Comparison::Figure::shareOfBound:
      return ratio;
    case Comparison::Figure::timesTheBound:
      return 1 / ratio;
    case Comparison::Figure::percentOfBlock:
      return 100 * seconds / blockSeconds;
    case Comparison::Figure::nanoseconds:
      return seconds * 1e9;
  }
  return 0;
}

void run(benchmark::State& state, const Comparison& comparison) {
  std::vector<double> operations;
  std::vector<double> bounds;
  std::vector<double> ratios;
  for ([[maybe_unused]] const auto iteration : state) {
    if (comparison.prepare) comparison.prepare();
    operations.push_back(secondsOf(comparison.operation, comparison.times));
    if (comparison.bound) {
      if (comparison.prepareBound) comparison.prepareBound();
      bounds.push_back(secondsOf(comparison.bound, comparison.times));
      ratios.push_back(bounds.back() / operations.back());
    }
    state.SetIterationTime(operations.back());
  }
  const double seconds = median(operations);
  state.counters["ns"] = seconds * 1e9;
  if (!bounds.empty()) state.counters["bound_ns"] = median(bounds) * 1e9;
  // The ratio of each pair, since the pairs are what ran under the same conditions.
  state.counters["figure"] = figureOf(comparison.figure, seconds, ratios.empty() ? 0 : median(ratios));
  if (comparison.atLeast) state.counters["at_least"] = *comparison.atLeast;
  if (comparison.atMost) state.counters["at_most"] = *comparison.atMost;
}

}  // namespace

void compare(Comparison comparison) {
  constexpr int runs = 5;
  const std::string name = comparison.what;
  const int slices = comparison.slices;
  benchmark::RegisterBenchmark(
      name.c_str(), [comparison = std::move(comparison)](benchmark::State& state) { run(state, comparison); })
      ->UseManualTime()
      ->Iterations(slices)
      ->Repetitions(runs)
      ->ReportAggregatesOnly();
}

}  // namespace brindlemux::bench
