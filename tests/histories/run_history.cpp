#include "histories/run_history.h"

#include <iostream>

#include "histories/violation.h"

namespace brindlemux::history {
namespace {

enum class Telling { silent, aloud };

std::optional<Failure> run(std::uint64_t seed, std::int64_t steps, const Invariant& extra, Telling telling) {
  Failure failure = {seed, 0, "the beginning", {}};
  try {
    History history(seed);
    for (std::int64_t number = 0; number < steps; ++number) {
      failure.steps = number + 1;
      // A step that fails does not get to say what it was.
      failure.at = "step " + std::to_string(number + 1);
      const std::string what = history.step(number);
      if (telling == Telling::aloud) std::cerr << "  " << number + 1 << ": " << what << '\n';
      const auto violation = extra ? extra(history) : std::nullopt;
      if (violation) throw Violation(*violation);
    }
    failure.at = "the end";
    history.finish();
  } catch (const Violation& violation) {
    failure.why = violation.what();
    return failure;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Failure> runHistory(std::uint64_t seed, std::int64_t steps, const Invariant& extra) {
  return run(seed, steps, extra, Telling::silent);
}

std::optional<Failure> runHistoryAloud(std::uint64_t seed, std::int64_t steps, const Invariant& extra) {
  return run(seed, steps, extra, Telling::aloud);
}

}  // namespace brindlemux::history
