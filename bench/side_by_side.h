#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace brindlemux::bench {

/// One operation, measured in turn with what bounds it, so that both meet the same clock rate and the same neighbours.
struct Comparison {
  /// What the row of the table says.
  std::string what;
  /// Each runs its operation `times` times over; the call itself costs nothing that counts.
  std::function<void(std::int64_t times)> operation;
  /// May be empty; then only the operation's own time counts.
  std::function<void(std::int64_t times)> bound;
  /// Run before the operation and before the bound, outside the measurement, and leave in the cache what each is about
  /// to read. May be empty.
  std::function<void()> prepare;
  std::function<void()> prepareBound;
  /// How often each runs between two looks at the clock.
  std::int64_t times = 100;
  /// How often each is measured in a run.
  int slices = 400;

  /// What the figure of the row says.
  enum class Figure {
    shareOfBound,    ///< the bound's time over the operation's: 1 is as fast as memory allows
    timesTheBound,   ///< the operation's time over the bound's
    percentOfBlock,  ///< of the 1.33 ms that 64 frames last
    nanoseconds
  };
  Figure figure = Figure::shareOfBound;
  std::optional<double> atLeast;
  std::optional<double> atMost;
};

/// Registers the comparison as a benchmark whose counters a TableReporter prints.
void compare(Comparison comparison);

}  // namespace brindlemux::bench
