#include "support/stall_watch.h"

#include <algorithm>
#include <pthread.h>
#include <sched.h>

namespace brindlemux::test {

StallWatch::StallWatch() {
  const unsigned processors = std::max(1U, std::thread::hardware_concurrency());
  for (unsigned i = 0; i < processors; ++i) threads_.emplace_back([this, i] { watch(i); });
}

StallWatch::~StallWatch() {
  isDone_ = true;
  for (std::thread& thread : threads_) thread.join();
}

void StallWatch::watch(unsigned processor) {
  cpu_set_t own;
  CPU_ZERO(&own);
  CPU_SET(processor, &own);
  pthread_setaffinity_np(pthread_self(), sizeof own, &own);
  sched_param priority = {};
  priority.sched_priority = sched_get_priority_max(SCHED_FIFO);
  pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority);

  constexpr std::chrono::milliseconds nap(2);
  while (!isDone_) {
    const auto due = Clock::now() + nap;
    std::this_thread::sleep_for(nap);
    const auto woken = Clock::now();
    if (woken - due < shortest) continue;
    const std::lock_guard lock(mutex_);
    stalls_.push_back({.begin = due, .end = woken});
  }
}

std::vector<StallWatch::Stall> StallWatch::stalls() const {
  const std::lock_guard lock(mutex_);
  return stalls_;
}

bool StallWatch::sawOneBetween(Clock::time_point begin, Clock::time_point end) const {
  const std::lock_guard lock(mutex_);
  return std::ranges::any_of(stalls_, [&](const Stall& stall) { return stall.begin <= end && stall.end >= begin; });
}

}  // namespace brindlemux::test
