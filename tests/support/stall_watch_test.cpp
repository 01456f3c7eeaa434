#include "support/stall_watch.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// Keeps the machine's first processor from running anything else, as far as the kernel allows that to a test.
bool occupyFirstProcessor(std::chrono::milliseconds duration) {
  cpu_set_t first;
  CPU_ZERO(&first);
  CPU_SET(0, &first);
  sched_param priority = {};
  priority.sched_priority = sched_get_priority_max(SCHED_FIFO);
  cpu_set_t before;
  pthread_getaffinity_np(pthread_self(), sizeof before, &before);
  if (pthread_setaffinity_np(pthread_self(), sizeof first, &first) != 0) return false;
  const bool isAllowed = pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority) == 0;
  const auto end = StallWatch::Clock::now() + duration;
  while (isAllowed && StallWatch::Clock::now() < end) {
  }
  priority.sched_priority = 0;
  pthread_setschedparam(pthread_self(), SCHED_OTHER, &priority);
  pthread_setaffinity_np(pthread_self(), sizeof before, &before);
  return isAllowed;
}

TEST(StallWatch, seesAProcessorThatRunsNothingElse) {
  const StallWatch watch;
  const auto begin = StallWatch::Clock::now();
  bool isAllowed = true;
  // Again where its thread had not begun to watch.
  const bool wasSeen = waitUntil([&] {
    isAllowed = occupyFirstProcessor(3 * StallWatch::shortest);
    return !isAllowed || watch.sawOneBetween(begin, StallWatch::Clock::now());
  });
  if (!isAllowed) GTEST_SKIP() << "no real-time scheduling here";
  EXPECT_TRUE(wasSeen);
  const auto end = StallWatch::Clock::now();
  EXPECT_FALSE(watch.sawOneBetween(begin - std::chrono::hours(2), begin - std::chrono::hours(1)));
  EXPECT_FALSE(watch.sawOneBetween(end + std::chrono::hours(1), end + std::chrono::hours(2)));
  for (const StallWatch::Stall& stall : watch.stalls()) EXPECT_GE(stall.end - stall.begin, StallWatch::shortest);
}

}  // namespace
}  // namespace brindlemux::test
