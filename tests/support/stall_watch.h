#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace brindlemux::test {

/// Notices when the machine stands still: one thread for each processor, bound to it and with nothing to do but sleep
/// for a moment, finds itself woken late. What is lost at such a time in real time is no fault of the program's, which
/// these threads do not wait for: they are woken by the kernel alone, ahead of ordinary threads where that is allowed.
///
/// Threads: any.
class StallWatch {
 public:
  using Clock = std::chrono::steady_clock;

  /// A pause during which some processor ran nothing.
  struct Stall {
    Clock::time_point begin;
    Clock::time_point end;
  };

  StallWatch();
  ~StallWatch();
  StallWatch(const StallWatch&) = delete;
  StallWatch& operator=(const StallWatch&) = delete;

  /// Those of `shortest` and more so far, in no order.
  std::vector<Stall> stalls() const;
  /// Whether one of them touches the time from `begin` to `end`.
  bool sawOneBetween(Clock::time_point begin, Clock::time_point end) const;

  static constexpr std::chrono::milliseconds shortest{15};

 private:
  void watch(unsigned processor);

  std::atomic<bool> isDone_{false};
  mutable std::mutex mutex_;
  std::vector<Stall> stalls_;
  std::vector<std::thread> threads_;
};

}  // namespace brindlemux::test
