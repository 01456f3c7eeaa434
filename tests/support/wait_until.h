#pragma once

#include <chrono>
#include <thread>

namespace brindlemux::test {

/// Asks again and again until `condition` holds; returns whether it did within the deadline. Asks at least once.
template <typename Condition>
bool waitUntil(Condition&& condition, std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace brindlemux::test
