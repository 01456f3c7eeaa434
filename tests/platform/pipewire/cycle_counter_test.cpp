#include "platform/pipewire/cycle_counter.h"

#include <gtest/gtest.h>

namespace brindlemux {
namespace {

spa_io_clock cycle(std::uint32_t clockID, std::uint64_t position, std::uint64_t nanoseconds) {
  spa_io_clock clock{};
  clock.id = clockID;
  clock.position = position;
  clock.nsec = nanoseconds;
  return clock;
}

TEST(CycleCounter, everyCallInOneCycleHasOneNumber) {
  CycleCounter counter;
  const std::uint64_t first = counter.number(cycle(0, 0, 0));
  EXPECT_EQ(counter.number(cycle(0, 0, 0)), first);
  EXPECT_EQ(counter.number(cycle(0, 256, 5)), first + 1);
  EXPECT_EQ(counter.number(cycle(0, 256, 5)), first + 1);
}

TEST(CycleCounter, cyclesDifferByClockPositionOrTime) {
  CycleCounter counter;
  const std::uint64_t first = counter.number(cycle(3, 256, 5));
  EXPECT_EQ(counter.number(cycle(4, 256, 5)), first + 1);
  EXPECT_EQ(counter.number(cycle(4, 0, 5)), first + 2);
  EXPECT_EQ(counter.number(cycle(4, 0, 9)), first + 3);
}

TEST(CycleCounter, aCycleKeepsItsNumberWhileOtherClocksAreSeen) {
  CycleCounter counter;
  const std::uint64_t former = counter.number(cycle(3, 1024, 5));
  for (std::uint64_t step = 1; step <= 9; ++step) {
    EXPECT_EQ(counter.number(cycle(4, 64 * step, 7 * step)), former + step);
    EXPECT_EQ(counter.number(cycle(3, 1024, 5)), former) << "its clock stands still";
  }
}

TEST(CycleCounter, theClocksSeenLastAreKnown) {
  CycleCounter counter;
  for (std::uint32_t clock = 10; clock < 15; ++clock) counter.number(cycle(clock, 256, 5));
  for (std::uint32_t clock = 11; clock < 15; ++clock) {
    EXPECT_EQ(counter.number(cycle(clock, 256, 5)), clock - 9) << clock;
  }
  EXPECT_EQ(counter.number(cycle(10, 256, 5)), 6U) << "forgotten, it counts as new";
}

TEST(NodeCycles, theFirstCycleMissesNothing) { EXPECT_EQ(NodeCycles().next(17).missedCycles, 0U); }

TEST(NodeCycles, aSecondCallInOneCycleIsRepeated) {
  NodeCycles cycles;
  EXPECT_FALSE(cycles.next(17).isRepeated);
  EXPECT_TRUE(cycles.next(17).isRepeated);
  EXPECT_FALSE(cycles.next(18).isRepeated);
}

TEST(NodeCycles, aClockThatWasLeftIsRepeated) {
  NodeCycles cycles;
  cycles.next(17);
  cycles.next(18);
  EXPECT_TRUE(cycles.next(17).isRepeated);
  EXPECT_EQ(cycles.next(20).missedCycles, 1U);
}

TEST(NodeCycles, cyclesOfOthersAreMissed) {
  NodeCycles cycles;
  cycles.next(17);
  EXPECT_EQ(cycles.next(18).missedCycles, 0U);
  EXPECT_EQ(cycles.next(21).missedCycles, 2U);
}

TEST(BlockSettling, aBlockOfTheLengthAskedForIsTakenAtOnce) {
  for (const std::uint32_t frames : {32U, 64U}) EXPECT_TRUE(BlockSettling(64).takesPart(3, frames)) << frames;
}

TEST(BlockSettling, longerBlocksOfBeforeArePassedOver) {
  BlockSettling settling(64);
  EXPECT_FALSE(settling.takesPart(3, 1024));
  EXPECT_TRUE(settling.takesPart(3, 64));
}

TEST(BlockSettling, soAreThoseOfAnotherDriver) {
  BlockSettling settling(64);
  EXPECT_TRUE(settling.takesPart(3, 64));
  EXPECT_FALSE(settling.takesPart(4, 1024));
  EXPECT_FALSE(settling.takesPart(4, 1024));
  EXPECT_TRUE(settling.takesPart(4, 64));
}

TEST(BlockSettling, aDriverThatStaysWithLongerBlocksIsBelieved) {
  BlockSettling settling(64);
  EXPECT_FALSE(settling.takesPart(3, 1024));
  EXPECT_FALSE(settling.takesPart(3, 1024));
  EXPECT_TRUE(settling.takesPart(3, 1024));
  // Another one with the same blocks brings nothing new.
  EXPECT_TRUE(settling.takesPart(4, 1024));
  EXPECT_FALSE(settling.takesPart(5, 2048));
}

TEST(BlockSettling, theLastOfADriverThatLeavesIsPassedOver) {
  BlockSettling settling(64);
  EXPECT_TRUE(settling.takesPart(3, 64));
  EXPECT_FALSE(settling.takesPart(3, 1024));
  EXPECT_TRUE(settling.takesPart(4, 64));
}

TEST(BlockSettling, aDriverMayMakeItsBlocksLonger) {
  BlockSettling settling(64);
  EXPECT_TRUE(settling.takesPart(3, 64));
  EXPECT_FALSE(settling.takesPart(3, 2048));
  EXPECT_TRUE(settling.takesPart(3, 2048));
  EXPECT_FALSE(settling.takesPart(3, 4096));
  EXPECT_TRUE(settling.takesPart(3, 4096));
  EXPECT_TRUE(settling.takesPart(3, 64));
  EXPECT_FALSE(settling.takesPart(4, 2048)) << "it is news again";
}

}  // namespace
}  // namespace brindlemux
