#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <spa/node/io.h>

namespace brindlemux {

/// Counts the server's cycles in which any of the program's nodes was called.
///
/// While nodes come under another driver some still look at the clock of the former one, which goes its own way or
/// stands still, and the calls of one cycle alternate between the two.
///
/// Threads: the data thread, which all of them share.
class CycleCounter {
 public:
  /// The number of the cycle that a node is called for; the same for every call in one cycle.
  std::uint64_t number(const spa_io_clock& clock) noexcept;

 private:
  /// A driver's clock as it was last seen, and which number that cycle has; 0 for none.
  struct Seen {
    std::uint32_t clockID = 0;
    std::uint64_t position = 0;
    std::uint64_t nanoseconds = 0;
    std::uint64_t number = 0;
  };

  /// Of the clocks seen last, in no order.
  std::array<Seen, 4> seen_;
  std::uint64_t number_ = 0;
};

/// What a node can tell of its own cycles. While the graph is put together the server calls a node twice in one cycle,
/// or leaves it out; so it does when whatever the node waits for is late. A cycle in which it calls none of the
/// program's nodes is nobody's: all of them go on where they were.
///
/// Threads: the data thread.
class NodeCycles {
 public:
  struct Step {
    /// The node has been called in this cycle before, or looks at a clock that has been left.
    bool isRepeated = false;
    /// The cycles since its last one in which other nodes were called, and it was not.
    std::uint64_t missedCycles = 0;
  };
  Step next(std::uint64_t number) noexcept;

 private:
  std::optional<std::uint64_t> last_;
};

/// Tells in which cycles a node takes part. In the cycle in which it joins the graph, or comes under another driver,
/// the server often still runs the longer blocks that this driver had before; and a driver that is taken out of the
/// graph may run one last cycle with the longer blocks of its own. A ring that is filled with one of those would keep
/// its readers as far behind for good. A driver that stays with longer blocks, as one that is told to does, is
/// believed.
///
/// Threads: the data thread.
class BlockSettling {
 public:
  /// Takes the block that the node asks for, in frames.
  explicit BlockSettling(std::uint32_t askedFrames) noexcept : askedFrames_(askedFrames), longest_(askedFrames) {}

  /// Whether the node takes part in a cycle of so many frames under the driver whose clock has this ID.
  bool takesPart(std::uint32_t clockID, std::uint32_t cycleFrames) noexcept;

 private:
  /// The longer blocks that are passed over: under a driver that is new to the node, and under one that it has
  /// followed.
  static constexpr int mostOfAnotherDriver = 2;
  static constexpr int mostOfTheSame = 1;

  std::uint32_t askedFrames_;
  /// The longest block that is no news.
  std::uint32_t longest_;
  std::optional<std::uint32_t> clockID_;
  /// How many blocks may still be passed over.
  int left_ = 0;
};

}  // namespace brindlemux
