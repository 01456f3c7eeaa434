#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace brindlemux {

/// Work that a Scheduler still has to run. Destroying or cancelling it keeps the work from running (again); cancelling
/// work that has run is harmless. Threads: the main thread.
class ScheduledWork {
 public:
  virtual ~ScheduledWork() = default;
  virtual void cancel() = 0;
};

/// Runs work on the main thread.
class Scheduler {
 public:
  virtual ~Scheduler() = default;

  /// Runs `work` soon, in the order of the posts. Threads: any.
  virtual void post(std::function<void()> work) = 0;

  /// Runs `work` once, `delay` from now. Threads: the main thread.
  [[nodiscard]] virtual std::unique_ptr<ScheduledWork> after(std::chrono::milliseconds delay,
                                                             std::function<void()> work) = 0;

  /// Runs `work` every `interval`, the first time one interval from now. Threads: the main thread.
  [[nodiscard]] virtual std::unique_ptr<ScheduledWork> every(std::chrono::milliseconds interval,
                                                             std::function<void()> work) = 0;
};

}  // namespace brindlemux
