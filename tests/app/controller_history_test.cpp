// Random commands and edits on a program whose driver, files and devices fail now and then.
#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <optional>
#include <string>

#include "app/controller_step.h"
#include "app/controller_world.h"
#include "support/repetitions.h"

namespace brindlemux::test {
namespace {

/// Plays the steps on a world of their own. What does not hold, and since which step; nothing when all is well.
std::optional<std::string> failureOf(const ControllerHistory& history) {
  ControllerWorld world;
  std::uint32_t last = 0;
  try {
    for (const ControllerStep& step : history) {
      last = step.number;
      world.play(step);
    }
    world.end();
  } catch (const BrokenPromise& broken) {
    return std::string("does not hold after step ") + std::to_string(last) + ": " + broken.what();
  }
  return std::nullopt;
}

/// A history that still fails, from which no stretch of steps can be taken.
ControllerHistory shrunk(ControllerHistory history) {
  for (std::size_t stretch = std::max<std::size_t>(history.size() / 2, 1); stretch > 0; stretch /= 2) {
    for (std::size_t at = 0; at + stretch <= history.size();) {
      ControllerHistory shorter = history;
      const auto begin = shorter.begin() + static_cast<std::ptrdiff_t>(at);
      shorter.erase(begin, begin + static_cast<std::ptrdiff_t>(stretch));
      if (failureOf(shorter)) {
        history = std::move(shorter);
      } else {
        at += stretch;
      }
    }
  }
  return history;
}

TEST(ControllerHistory, everyPromiseHoldsAfterEveryStep) {
  constexpr std::size_t steps = 100;
  const auto histories = static_cast<std::uint32_t>(repetitions("BRINDLEMUX_HISTORIES", 150));
  for (std::uint32_t seed = 1; seed <= histories; ++seed) {
    const ControllerHistory history = randomHistory(seed, steps);
    if (!failureOf(history)) continue;
    const ControllerHistory least = shrunk(history);
    FAIL() << "seed " << seed << ": " << failureOf(least).value_or("no longer fails") << "\n" << describe(least);
  }
}

}  // namespace
}  // namespace brindlemux::test
