#include "support/realtime_guard.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <gtest/gtest.h>
#include <linux/futex.h>
#include <memory>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace brindlemux::test {
namespace {

/// Keeps the compiler from removing an allocation that nothing uses.
void use(void* pointer) { asm volatile("" : : "r"(pointer) : "memory"); }

TEST(RealtimeGuard, nothingCountsAsNothing) {
  int sum = 0;
  EXPECT_EQ(countedInRealtime([&] {
              for (int i = 0; i < 10; ++i) sum += i;
            }),
            RealtimeCounts{});
  EXPECT_EQ(sum, 45);
}

TEST(RealtimeGuard, newAndDeleteAreCounted) {
  const RealtimeCounts counts = countedInRealtime([] {
    const auto number = std::make_unique<int>(1);
    use(number.get());
  });
  EXPECT_EQ(counts, (RealtimeCounts{.allocations = 1, .frees = 1}));
}

TEST(RealtimeGuard, mallocAndCallocAreCounted) {
  const RealtimeCounts counts = countedInRealtime([] {
    void* const blocks[2] = {std::malloc(8), std::calloc(2, 8)};
    for (void* block : blocks) use(block);
    for (void* block : blocks) std::free(block);
  });
  EXPECT_EQ(counts, (RealtimeCounts{.allocations = 2, .frees = 2}));
}

TEST(RealtimeGuard, alignedAllocationsAreCounted) {
#ifdef __SANITIZE_THREAD__
  GTEST_SKIP() << "the thread sanitizer does not report them";
#endif
  const RealtimeCounts counts = countedInRealtime([] {
    void* blocks[2] = {std::aligned_alloc(64, 64), nullptr};
    if (posix_memalign(&blocks[1], 64, 64) != 0) std::abort();
    for (void* block : blocks) use(block);
    for (void* block : blocks) std::free(block);
    void* const object = ::operator new (64, std::align_val_t{64});
    use(object);
    ::operator delete (object, std::align_val_t{64});
  });
  EXPECT_EQ(counts, (RealtimeCounts{.allocations = 3, .frees = 3}));
}

TEST(RealtimeGuard, reallocIsCounted) {
  void* block = std::malloc(8);
  const RealtimeCounts counts = countedInRealtime([&] {
    block = std::realloc(block, 100000);
    use(block);
  });
  std::free(block);
  EXPECT_GE(counts.allocations, 1);
}

TEST(RealtimeGuard, freeingNothingIsNotCounted) {
  EXPECT_EQ(countedInRealtime([] { std::free(nullptr); }), RealtimeCounts{});
}

TEST(RealtimeGuard, aGrowingVectorIsCounted) {
  std::vector<int> values;
  const RealtimeCounts counts = countedInRealtime([&] { values.resize(1000); });
  EXPECT_EQ(counts, (RealtimeCounts{.allocations = 1}));
}

TEST(RealtimeGuard, locksAreCounted) {
  if (!RealtimeGuard::countsLocks()) GTEST_SKIP() << "a sanitizer stands in for the lock functions";
  std::mutex mutex;
  std::shared_mutex shared;
  std::uint32_t word = 1;
  const RealtimeCounts counts = countedInRealtime([&] {
    { const std::lock_guard guard(mutex); }
    { const std::lock_guard guard(shared); }
    { const std::shared_lock guard(shared); }
    // Waits for the word to be other than 0, which it is.
    static_cast<void>(syscall(SYS_futex, &word, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0));
  });
  EXPECT_EQ(counts, (RealtimeCounts{.blockingLocks = 4}));
}

TEST(RealtimeGuard, otherThreadsAreNotSeen) {
  std::atomic<bool> begun = false;
  std::atomic<bool> done = false;
  std::thread other([&] {
    while (!begun) std::this_thread::yield();
    for (int i = 0; i < 100; ++i) use(std::make_unique<int>(i).get());
    done = true;
  });
  const RealtimeCounts counts = countedInRealtime([&] {
    begun = true;
    while (!done) std::this_thread::yield();
  });
  other.join();
  EXPECT_EQ(counts, RealtimeCounts{});
}

}  // namespace
}  // namespace brindlemux::test
