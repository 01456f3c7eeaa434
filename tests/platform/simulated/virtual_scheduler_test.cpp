#include "platform/simulated/virtual_scheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class VirtualSchedulerTest : public testing::Test {
 protected:
  VirtualScheduler scheduler;
  std::vector<std::string> ran;

  std::function<void()> note(const std::string& what) {
    return [this, what] { ran.push_back(what + "@" + std::to_string(scheduler.now().count())); };
  }
};

TEST_F(VirtualSchedulerTest, delayedWorkRunsOnceWhenDue) {
  const auto work = scheduler.after(300ms, note("late"));
  scheduler.advance(299ms);
  EXPECT_TRUE(ran.empty());
  scheduler.advance(1ms);
  scheduler.advance(1000ms);
  EXPECT_THAT(ran, ElementsAre("late@300"));
}

TEST_F(VirtualSchedulerTest, repeatingWorkStartsOneIntervalFromNow) {
  const auto work = scheduler.every(120ms, note("tick"));
  scheduler.advance(360ms);
  EXPECT_THAT(ran, ElementsAre("tick@120", "tick@240", "tick@360"));
}

TEST_F(VirtualSchedulerTest, workRunsInTheOrderOfItsTimeThenOfItsMaking) {
  const auto second = scheduler.after(20ms, note("b"));
  const auto third = scheduler.after(20ms, note("c"));
  const auto first = scheduler.after(10ms, note("a"));
  scheduler.advance(20ms);
  EXPECT_THAT(ran, ElementsAre("a@10", "b@20", "c@20"));
}

TEST_F(VirtualSchedulerTest, postedWorkRunsBeforeLaterWorkAndMayPost) {
  const auto work = scheduler.after(10ms, note("due"));
  scheduler.post([this] {
    note("posted")();
    scheduler.post(note("from there"));
  });
  scheduler.advance(10ms);
  EXPECT_THAT(ran, ElementsAre("posted@0", "from there@0", "due@10"));
}

TEST_F(VirtualSchedulerTest, cancelledOrDroppedWorkDoesNotRun) {
  const auto cancelled = scheduler.after(10ms, note("cancelled"));
  cancelled->cancel();
  scheduler.after(10ms, note("dropped")).reset();
  EXPECT_EQ(scheduler.scheduledCount(), 0U);
  scheduler.advance(10ms);
  EXPECT_TRUE(ran.empty());
}

TEST_F(VirtualSchedulerTest, repeatingWorkMayCancelItself) {
  std::unique_ptr<ScheduledWork> work;
  work = scheduler.every(10ms, [this, &work] {
    note("tick")();
    work.reset();
  });
  scheduler.advance(100ms);
  EXPECT_THAT(ran, ElementsAre("tick@10"));
}

TEST_F(VirtualSchedulerTest, workMayScheduleWorkThatFallsDueInTheSameAdvance) {
  std::unique_ptr<ScheduledWork> inner;
  const auto outer = scheduler.after(10ms, [&] { inner = scheduler.after(5ms, note("inner")); });
  scheduler.advance(20ms);
  EXPECT_THAT(ran, ElementsAre("inner@15"));
}

TEST_F(VirtualSchedulerTest, handleMayOutliveTheScheduler) {
  std::unique_ptr<ScheduledWork> work;
  {
    VirtualScheduler shortLived;
    work = shortLived.after(10ms, [] {});
  }
  work->cancel();
}

}  // namespace
}  // namespace brindlemux
