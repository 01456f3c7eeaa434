#include "driver/loop_timer.h"

#include <cerrno>
#include <cstdint>
#include <new>
#include <utility>

#include "driver/guarded.h"

namespace brindlemux::driver {

LoopTimer::LoopTimer(pw_loop& loop, std::function<void()> action) : loop_(loop), action_(std::move(action)) {
  const auto run = [](void* data, std::uint64_t) {
    guarded("timer", [data] { static_cast<LoopTimer*>(data)->action_(); });
  };
  source_ = pw_loop_add_timer(&loop_, run, this);
  if (source_ == nullptr) throw std::bad_alloc();
}

LoopTimer::~LoopTimer() { pw_loop_destroy_source(&loop_, source_); }

void LoopTimer::start(std::chrono::milliseconds interval) noexcept {
  timespec first = {};
  first.tv_sec = static_cast<time_t>(interval.count() / 1000);
  first.tv_nsec = static_cast<long>(interval.count() % 1000 * 1'000'000);
  timespec next = first;
  pw_loop_update_timer(&loop_, source_, &first, &next, false);
}

void LoopTimer::stop() noexcept {
  timespec never = {};
  pw_loop_update_timer(&loop_, source_, &never, &never, false);
}

}  // namespace brindlemux::driver
