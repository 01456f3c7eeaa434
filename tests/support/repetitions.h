#pragma once

#include <cstdlib>

namespace brindlemux::test {

/// How often a test repeats what it does, or how much it takes of it: `few`, or what the environment's variable says.
/// The scripts for longer tests set it.
inline int repetitions(const char* variable, int few) {
  const char* const text = std::getenv(variable);
  const int count = text == nullptr ? 0 : std::atoi(text);
  return count > 0 ? count : few;
}

/// Whether the test runs for long, and so may judge how long something takes.
inline bool isLongRun(const char* variable) { return std::getenv(variable) != nullptr; }

}  // namespace brindlemux::test
