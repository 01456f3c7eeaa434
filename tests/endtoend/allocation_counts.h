#pragma once

#include <atomic>
#include <cstdint>

namespace brindlemux::test {

/// How often the program has allocated and freed, in memory that it shares with a test.
struct AllocationCounts {
  /// The threads that have been named as the data thread.
  std::atomic<std::int64_t> dataThreads;
  /// Of those threads.
  std::atomic<std::int64_t> allocations;
  std::atomic<std::int64_t> frees;
  /// Of all others, allocations and frees.
  std::atomic<std::int64_t> otherCalls;
};

}  // namespace brindlemux::test
