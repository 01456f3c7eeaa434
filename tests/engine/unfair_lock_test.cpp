#include "engine/unfair_lock.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <gtest/gtest.h>
#include <mutex>
#include <optional>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include "engine/audio_test_support.h"

namespace {

thread_local int threadIDQueries = 0;

}  // namespace

/// Stands in for the C library's function in this program, and counts on the calling thread.
extern "C" __attribute__((visibility("default"))) pid_t gettid() noexcept {
  ++threadIDQueries;
  return static_cast<pid_t>(syscall(SYS_gettid));
}

namespace brindlemux {
namespace {

using test::countedInRealtime;
using test::inRealtime;
using test::RealtimeCounts;
using test::RealtimeGuard;

TEST(UnfairLock, isOneWord) { EXPECT_EQ(sizeof(UnfairLock), 4U); }

TEST(UnfairLock, uncontendedItNeverEntersTheKernel) {
  UnfairLock lock;
  inRealtime([&] {
    for (int i = 0; i < 1000; ++i) {
      const std::lock_guard guard(lock);
    }
  });
}

TEST(UnfairLock, aThreadAsksForItsIDOnce) {
  UnfairLock lock;
  int queries = -1;
  std::thread([&] {
    for (int i = 0; i < 1000; ++i) {
      const std::lock_guard guard(lock);
    }
    queries = threadIDQueries;
  }).join();
  EXPECT_EQ(queries, 1);
}

TEST(UnfairLock, tryLockFailsWhileAnotherThreadHolds) {
  UnfairLock lock;
  lock.lock();
  bool got = true;
  std::thread([&] { got = lock.try_lock(); }).join();
  EXPECT_FALSE(got);
  EXPECT_FALSE(lock.try_lock());
  lock.unlock();
  std::thread([&] {
    got = lock.try_lock();
    if (got) lock.unlock();
  }).join();
  EXPECT_TRUE(got);
}

constexpr std::uint32_t waitersBit = 0x80000000U;

/// The word as another thread sees it: 0 when free, with that bit set when somebody waits in the kernel.
std::uint32_t wordOf(UnfairLock& lock) {
  static_assert(sizeof(UnfairLock) == sizeof(std::atomic<std::uint32_t>));
  return reinterpret_cast<std::atomic<std::uint32_t>&>(lock).load(std::memory_order_relaxed);
}

TEST(UnfairLock, aWaiterSleepsInTheKernelAndIsHandedTheLock) {
  UnfairLock lock;
  bool released = false;
  RealtimeCounts counts;
  lock.lock();
  std::thread waiter([&] {
    counts = countedInRealtime([&] { lock.lock(); });
    EXPECT_TRUE(released);
    lock.unlock();
  });
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  while ((wordOf(lock) & waitersBit) == 0 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  EXPECT_NE(wordOf(lock) & waitersBit, 0U);
  released = true;
  lock.unlock();
  waiter.join();
  EXPECT_EQ(wordOf(lock), 0U);
  EXPECT_GE(counts.blockingLocks, RealtimeGuard::countsLocks() ? 1 : 0);
}

/// Runs `body` on one processor, in real time at a priority, or in the usual way at 0. Nothing when that is not
/// allowed.
std::optional<std::thread> startedOn(int processor, int priority, std::function<void()> body) {
  std::promise<bool> allowed;
  std::future<bool> answer = allowed.get_future();
  std::thread thread([processor, priority, body = std::move(body), allowed = std::move(allowed)]() mutable {
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<std::size_t>(processor), &processors);
    sched_param parameters = {};
    parameters.sched_priority = priority;
    // The priority first: on a crowded processor the thread might not come to asking for it.
    const bool isAllowed = (priority == 0 || pthread_setschedparam(pthread_self(), SCHED_FIFO, &parameters) == 0) &&
                           pthread_setaffinity_np(pthread_self(), sizeof processors, &processors) == 0;
    allowed.set_value(isAllowed);
    if (isAllowed) body();
  });
  // A thread that is kept from running does not answer, but then it was allowed to wait for its turn.
  if (answer.wait_for(std::chrono::milliseconds(200)) == std::future_status::ready && !answer.get()) {
    thread.join();
    return std::nullopt;
  }
  return thread;
}

TEST(UnfairLock, aHolderWithoutPriorityDoesNotStallARealTimeWaiter) {
  const int processor = sched_getcpu();
  ASSERT_GE(processor, 0);
  UnfairLock lock;
  std::atomic<bool> isHeld = false;
  std::atomic<bool> isCrowded = false;
  std::atomic<bool> intruderRan = false;
  std::atomic<bool> waiterHasIt = false;
  bool intruderWasFirst = false;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  const auto isLate = [&] { return std::chrono::steady_clock::now() > deadline; };

  // The holder needs the processor to come to an end, and all three threads share one.
  std::optional<std::thread> holder = startedOn(processor, 0, [&] {
    lock.lock();
    isHeld = true;
    while (!isCrowded && !isLate()) {
    }
    lock.unlock();
  });
  ASSERT_TRUE(holder.has_value());
  while (!isHeld && !isLate()) std::this_thread::yield();
  std::optional<std::thread> waiter = startedOn(processor, 20, [&] {
    lock.lock();
    intruderWasFirst = intruderRan;
    waiterHasIt = true;
    lock.unlock();
  });
  if (!waiter) {
    isCrowded = true;
    holder->join();
    GTEST_SKIP() << "this user may not run threads in real time";
  }
  while ((wordOf(lock) & waitersBit) == 0 && !isLate()) std::this_thread::yield();
  // Less urgent than the waiter, but more than the holder by itself: without inheritance it would keep the holder off
  // the processor for as long as it likes. It gives up before the system ends its turn.
  std::optional<std::thread> intruder = startedOn(processor, 10, [&] {
    intruderRan = true;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
    while (!waiterHasIt && std::chrono::steady_clock::now() < end) {
    }
  });
  isCrowded = true;
  ASSERT_TRUE(intruder.has_value());
  for (std::optional<std::thread>* thread : {&holder, &waiter, &intruder}) (*thread)->join();
  EXPECT_TRUE(waiterHasIt);
  EXPECT_FALSE(intruderWasFirst) << "the holder did not run at its waiter's priority";
  EXPECT_FALSE(isLate());
}

TEST(UnfairLock, excludesEveryOtherThread) {
  constexpr int threads = 4;
  constexpr int rounds = 20000;
  UnfairLock lock;
  std::int64_t counter = 0;  // not atomic: the lock alone keeps the increments apart
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&] {
      for (int round = 0; round < rounds; ++round) {
        const std::lock_guard guard(lock);
        ++counter;
      }
    });
  }
  for (std::thread& worker : workers) worker.join();
  EXPECT_EQ(counter, std::int64_t{threads} * rounds);
}

TEST(UnfairLock, theChildOfAForkHoldsItUnderItsOwnName) {
  // The thread has asked for its ID before the fork; the child's is another.
  UnfairLock lock;
  lock.lock();
  const std::uint32_t parentWord = wordOf(lock);
  lock.unlock();
  EXPECT_EQ(parentWord, static_cast<std::uint32_t>(gettid()));
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    lock.lock();
    const bool own = wordOf(lock) == static_cast<std::uint32_t>(gettid());
    lock.unlock();
    _exit(own ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(UnfairLockDeathTest, takingItTwiceIsFatal) {
  UnfairLock lock;
  // Both within the death test's own process, whose thread is another than this one.
  EXPECT_DEATH(
      {
        lock.lock();
        lock.lock();
      },
      "takes an unfair lock that it holds");
}

TEST(UnfairLockDeathTest, releasingWhatIsNotHeldIsFatal) {
  UnfairLock lock;
  EXPECT_DEATH(lock.unlock(), "releases an unfair lock that it does not hold");
  std::thread([&] { lock.lock(); }).join();
  EXPECT_DEATH(lock.unlock(), "releases an unfair lock that it does not hold");
}

}  // namespace
}  // namespace brindlemux
