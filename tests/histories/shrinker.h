#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "histories/run_history.h"

namespace brindlemux::history {

/// Runs the first `steps` steps and the end.
using Run = std::function<std::optional<Failure>(std::int64_t steps)>;

/// The failure of a short prefix of a history that is known to fail within `steps` steps: no prefix of a length that is
/// a power of two below it fails, nor does the prefix that is one step shorter. Where every longer prefix fails too,
/// that is the shortest of all.
Failure shortestFailure(const Run& run, const Failure& known);

/// The failure in words, with the command that shows it again.
std::string description(const Failure& failure);

}  // namespace brindlemux::history
