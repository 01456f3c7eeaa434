#pragma once

#include <chrono>

namespace brindlemux {

/// Time as the program sees it; tests pass a virtual one.
class Clock {
 public:
  virtual ~Clock() = default;
  /// Wall-clock time.
  virtual double secondsSince1970() const = 0;
  /// Blocks the calling thread.
  virtual void sleep(std::chrono::milliseconds duration) = 0;
};

class SystemClock final : public Clock {
 public:
  double secondsSince1970() const override;
  void sleep(std::chrono::milliseconds duration) override;
};

}  // namespace brindlemux
