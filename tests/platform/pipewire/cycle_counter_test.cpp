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

TEST(NodeCycles, theFirstCycleMissesNothing) { EXPECT_EQ(NodeCycles().next(17).missedCycles, 0U); }

TEST(NodeCycles, aSecondCallInOneCycleIsRepeated) {
  NodeCycles cycles;
  EXPECT_FALSE(cycles.next(17).isRepeated);
  EXPECT_TRUE(cycles.next(17).isRepeated);
  EXPECT_FALSE(cycles.next(18).isRepeated);
}

TEST(NodeCycles, cyclesOfOthersAreMissed) {
  NodeCycles cycles;
  cycles.next(17);
  EXPECT_EQ(cycles.next(18).missedCycles, 0U);
  EXPECT_EQ(cycles.next(21).missedCycles, 2U);
}

}  // namespace
}  // namespace brindlemux
