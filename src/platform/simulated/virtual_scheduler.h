#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/scheduler.h"

namespace brindlemux {

/// A scheduler whose work runs inside advance(), on virtual time: in the order in which it falls due, and in the order
/// of its making where it falls due together; posted work before anything that is due later.
///
/// Threads: post() any; everything else one. Work may schedule, cancel and post.
class VirtualScheduler final : public Scheduler {
 public:
  void post(std::function<void()> work) override;
  [[nodiscard]] std::unique_ptr<ScheduledWork> after(std::chrono::milliseconds delay,
                                                     std::function<void()> work) override;
  [[nodiscard]] std::unique_ptr<ScheduledWork> every(std::chrono::milliseconds interval,
                                                     std::function<void()> work) override;

  /// Runs what is posted and everything that falls due until `duration` from here.
  void advance(std::chrono::milliseconds duration);

  /// Runs what is posted, and what that posts, without letting time pass.
  void runPosted();

  std::chrono::milliseconds now() const noexcept { return now_; }

  /// Delayed and repeating work that has not been cancelled.
  std::size_t scheduledCount() const;

 private:
  struct Item {
    std::chrono::milliseconds due{0};
    std::chrono::milliseconds interval{0};  ///< 0 for work that runs once
    std::function<void()> work;
    bool active = true;
  };
  class Handle;

  std::unique_ptr<ScheduledWork> schedule(std::chrono::milliseconds delay, std::chrono::milliseconds interval,
                                          std::function<void()> work);
  std::shared_ptr<Item> nextDue(std::chrono::milliseconds end);
  void run(Item& item);

  std::mutex postedLock_;
  std::deque<std::function<void()>> posted_;
  std::chrono::milliseconds now_{0};
  /// Shared with the handles, which may outlive the scheduler.
  std::vector<std::shared_ptr<Item>> items_;
};

}  // namespace brindlemux
