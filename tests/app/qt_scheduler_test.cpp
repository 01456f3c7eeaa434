#include "app/controller/qt_scheduler.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "app/event_loop.h"

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using test::eventually;
using testing::ElementsAre;

TEST(QtScheduler, postedWorkWaitsForTheEventLoop) {
  QtScheduler scheduler;
  std::vector<int> order;
  scheduler.post([&] { order.push_back(1); });
  scheduler.post([&] { order.push_back(2); });
  EXPECT_TRUE(order.empty());
  ASSERT_TRUE(eventually([&] { return order.size() == 2; }));
  EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST(QtScheduler, postsOfOtherThreadsRunHereInTheirOrder) {
  QtScheduler scheduler;
  constexpr int postsPerThread = 2000;
  std::vector<std::vector<int>> seen(4);
  bool elsewhere = false;
  std::vector<std::jthread> threads;
  for (std::size_t number = 0; number < seen.size(); ++number) {
    threads.emplace_back([&, number] {
      for (int post = 0; post < postsPerThread; ++post) {
        scheduler.post([&, number, post] {
          elsewhere = elsewhere || QThread::currentThread() != qApp->thread();
          seen[number].push_back(post);
        });
      }
    });
  }
  ASSERT_TRUE(eventually(
      [&] { return std::ranges::all_of(seen, [](const auto& posts) { return posts.size() == postsPerThread; }); }));
  EXPECT_FALSE(elsewhere);
  for (const auto& posts : seen) EXPECT_TRUE(std::ranges::is_sorted(posts));
}

TEST(QtScheduler, delayedWorkRunsOnceAndNotEarly) {
  QtScheduler scheduler;
  QElapsedTimer elapsed;
  elapsed.start();
  int runs = 0;
  qint64 after = 0;
  const auto work = scheduler.after(60ms, [&] {
    ++runs;
    after = elapsed.elapsed();
  });
  // Long enough for a second run to show.
  bool later = false;
  const auto end = scheduler.after(250ms, [&] { later = true; });
  ASSERT_TRUE(eventually([&] { return later; }));
  EXPECT_EQ(runs, 1);
  EXPECT_GE(after, 59);  // The event loop counts whole milliseconds.
  work->cancel();
}

TEST(QtScheduler, repeatingWorkRepeatsUntilCancelled) {
  QtScheduler scheduler;
  int runs = 0;
  const auto work = scheduler.every(5ms, [&] { ++runs; });
  ASSERT_TRUE(eventually([&] { return runs >= 5; }));
  work->cancel();
  const int before = runs;
  bool later = false;
  const auto end = scheduler.after(50ms, [&] { later = true; });
  ASSERT_TRUE(eventually([&] { return later; }));
  EXPECT_EQ(runs, before);
  work->cancel();
}

TEST(QtScheduler, destroyedWorkDoesNotRun) {
  QtScheduler scheduler;
  bool ran = false;
  bool later = false;
  auto work = scheduler.after(5ms, [&] { ran = true; });
  const auto end = scheduler.after(50ms, [&] { later = true; });
  work.reset();
  ASSERT_TRUE(eventually([&] { return later; }));
  EXPECT_FALSE(ran);
}

TEST(QtScheduler, workMayDestroyItself) {
  QtScheduler scheduler;
  auto owned = std::make_shared<int>(0);
  const std::weak_ptr<int> watch = owned;
  bool ran = false;
  bool aliveWhileRunning = false;
  std::unique_ptr<ScheduledWork> work;
  work = scheduler.every(1ms, [&work, &watch, &ran, &aliveWhileRunning, owned = std::move(owned)] {
    // Kept beside the work, which may be gone after the next line.
    const std::weak_ptr<int>& what = watch;
    bool& result = aliveWhileRunning;
    bool& done = ran;
    work.reset();
    result = !what.expired();
    done = true;
  });
  ASSERT_TRUE(eventually([&] { return ran; }));
  EXPECT_TRUE(aliveWhileRunning);
  EXPECT_TRUE(watch.expired());
}

TEST(QtScheduler, workMayScheduleItselfAgain) {
  QtScheduler scheduler;
  std::unique_ptr<ScheduledWork> work;
  int runs = 0;
  const std::function<void()> step = [&] {
    if (++runs < 3) work = scheduler.after(1ms, step);
  };
  work = scheduler.after(1ms, step);
  ASSERT_TRUE(eventually([&] { return runs == 3; }));
}

TEST(QtScheduler, postsLeftBehindNeverRun) {
  const auto alive = std::make_shared<int>(0);
  auto scheduler = std::make_unique<QtScheduler>();
  scheduler->post([alive] { ++*alive; });
  scheduler.reset();
  EXPECT_EQ(alive.use_count(), 1);
  QCoreApplication::processEvents();
  EXPECT_EQ(*alive, 0);
}

}  // namespace
}  // namespace brindlemux
