#pragma once

#include <atomic>
#include <cstdint>

namespace brindlemux::test {

/// What the program's data thread has allocated and freed, in memory that it shares with a test.
struct AllocationCounts {
  std::atomic<std::int64_t> allocations;
  std::atomic<std::int64_t> frees;
};

}  // namespace brindlemux::test
