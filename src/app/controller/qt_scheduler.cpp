#include "app/controller/qt_scheduler.h"

#include <QTimerEvent>
#include <utility>

namespace brindlemux {
namespace {

/// One timer of the event loop. Work may cancel or destroy it from within.
class TimerWork final : public QObject, public ScheduledWork {
 public:
  enum class Repeat { once, forever };

  TimerWork(std::chrono::milliseconds interval, Repeat repeat, std::function<void()> work)
      : repeat_(repeat), work_(std::make_shared<const std::function<void()>>(std::move(work))) {
    // Coarse timers may fire 5 % late, which shows in a meter.
    timer_ = startTimer(interval, Qt::PreciseTimer);
  }

  void cancel() override {
    if (timer_ != 0) killTimer(std::exchange(timer_, 0));
  }

 protected:
  void timerEvent(QTimerEvent* event) override {
    if (timer_ == 0 || event->timerId() != timer_) return;
    if (repeat_ == Repeat::once) cancel();
    // Shared, so that the work outlives this object when it destroys it.
    const auto work = work_;
    (*work)();
  }

 private:
  const Repeat repeat_;
  const std::shared_ptr<const std::function<void()>> work_;
  int timer_ = 0;
};

}  // namespace

void QtScheduler::post(std::function<void()> work) {
  QMetaObject::invokeMethod(&receiver_, std::move(work), Qt::QueuedConnection);
}

std::unique_ptr<ScheduledWork> QtScheduler::after(std::chrono::milliseconds delay, std::function<void()> work) {
  return std::make_unique<TimerWork>(delay, TimerWork::Repeat::once, std::move(work));
}

std::unique_ptr<ScheduledWork> QtScheduler::every(std::chrono::milliseconds interval, std::function<void()> work) {
  return std::make_unique<TimerWork>(interval, TimerWork::Repeat::forever, std::move(work));
}

}  // namespace brindlemux
