#pragma once

#include <chrono>

#include "model/clock.h"

namespace brindlemux {

/// A clock that stands still but for sleep() and advance(). Threads: one at a time.
class VirtualClock final : public Clock {
 public:
  /// Starts at the given time, in seconds since 1970.
  explicit VirtualClock(double secondsSince1970 = 1'700'000'000) : start_(secondsSince1970) {}

  double secondsSince1970() const override { return start_ + std::chrono::duration<double>(elapsed_).count(); }
  void sleep(std::chrono::milliseconds duration) override;

  void advance(std::chrono::milliseconds duration) { elapsed_ += duration; }

  /// Calls of sleep() so far, and how long they slept in all.
  int sleeps() const noexcept { return sleeps_; }
  std::chrono::milliseconds slept() const noexcept { return slept_; }

 private:
  double start_ = 0;
  std::chrono::milliseconds elapsed_{0};
  std::chrono::milliseconds slept_{0};
  int sleeps_ = 0;
};

}  // namespace brindlemux
