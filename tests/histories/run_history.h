#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "histories/history.h"

namespace brindlemux::history {

/// Where and why a history failed.
struct Failure {
  std::uint64_t seed = 0;
  /// Steps done, the one that failed among them.
  std::int64_t steps = 0;
  /// What the last step did, or the end.
  std::string at;
  std::string why;
};

/// Runs a history of `steps` steps from its seed alone, and its end. Returns the first failure, or nothing.
std::optional<Failure> runHistory(std::uint64_t seed, std::int64_t steps, const Invariant& extra = {});

/// The same run, with what every step did printed to standard error.
std::optional<Failure> runHistoryAloud(std::uint64_t seed, std::int64_t steps, const Invariant& extra = {});

}  // namespace brindlemux::history
