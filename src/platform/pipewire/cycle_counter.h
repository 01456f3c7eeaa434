#pragma once

#include <cstdint>
#include <optional>
#include <spa/node/io.h>

namespace brindlemux {

/// Counts the server's cycles in which any of the program's nodes was called.
///
/// Threads: the data thread, which all of them share.
class CycleCounter {
 public:
  /// The number of the cycle that a node is called for; the same for every call in one cycle.
  std::uint64_t number(const spa_io_clock& clock) noexcept;

 private:
  std::uint64_t number_ = 0;
  std::uint32_t clockID_ = 0;
  std::uint64_t position_ = 0;
  std::uint64_t nanoseconds_ = 0;
};

/// What a node can tell of its own cycles. While the graph is put together the server calls a node twice in one cycle,
/// or leaves it out; so it does when whatever the node waits for is late. A cycle in which it calls none of the
/// program's nodes is nobody's: all of them go on where they were.
///
/// Threads: the data thread.
class NodeCycles {
 public:
  struct Step {
    /// The node has been called in this cycle before.
    bool isRepeated = false;
    /// The cycles since its last one in which other nodes were called, and it was not.
    std::uint64_t missedCycles = 0;
  };
  Step next(std::uint64_t number) noexcept;

 private:
  std::optional<std::uint64_t> last_;
};

}  // namespace brindlemux
