#include "histories/shrinker.h"

#include <algorithm>

namespace brindlemux::history {

Failure shortestFailure(const Run& run, const Failure& known) {
  Failure shortest = known;
  // An early failure is found in little time, however long the history is.
  std::int64_t passes = -1;
  for (std::int64_t steps = 0; steps < shortest.steps; steps = std::max<std::int64_t>(1, steps * 2)) {
    if (auto failure = run(steps)) {
      shortest = std::move(*failure);
      break;
    }
    passes = steps;
  }
  while (shortest.steps - passes > 1) {
    const std::int64_t middle = passes + (shortest.steps - passes) / 2;
    if (auto failure = run(middle)) {
      shortest = std::move(*failure);
    } else {
      passes = middle;
    }
  }
  return shortest;
}

std::string description(const Failure& failure) {
  const std::string seed = std::to_string(failure.seed);
  const std::string steps = std::to_string(failure.steps);
  return "seed " + seed + " fails with its first " + steps + " steps, at " + failure.at + ":\n  " + failure.why +
         "\n  again: long_histories --first-seed " + seed + " --seeds 1 --steps " + steps + " --aloud";
}

}  // namespace brindlemux::history
