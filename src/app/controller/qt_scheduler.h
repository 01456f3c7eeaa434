#pragma once

#include <QObject>
#include <atomic>

#include "platform/scheduler.h"

namespace brindlemux {

/// The main thread's scheduler on the Qt event loop. Its timers also run while a menu is open or a control is dragged.
///
/// Threads: made and destroyed on the main thread, whose event loop runs the work; `post` may be called from any.
/// Posts that have not run when it is destroyed never run; who posts from another thread ends before it.
class QtScheduler final : public Scheduler {
 public:
  void post(std::function<void()> work) override;
  [[nodiscard]] std::unique_ptr<ScheduledWork> after(std::chrono::milliseconds delay,
                                                     std::function<void()> work) override;
  [[nodiscard]] std::unique_ptr<ScheduledWork> every(std::chrono::milliseconds interval,
                                                     std::function<void()> work) override;

 private:
  /// Runs the work of the events that are posted to it.
  class Receiver final : public QObject {
   public:
    void post(std::function<void()> work);

   protected:
    bool event(QEvent* event) override;

   private:
    /// What a post did before is done for its work. The event queue sees to that as well, but the thread sanitizer does
    /// not see the queue.
    std::atomic<unsigned> posts_{0};
  };

  Receiver receiver_;
};

}  // namespace brindlemux
