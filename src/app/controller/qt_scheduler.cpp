#include "app/controller/qt_scheduler.h"

#include <QCoreApplication>
#include <QEvent>
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

/// Brings work to the thread that runs the event loop.
class WorkEvent final : public QEvent {
 public:
  explicit WorkEvent(std::function<void()> work) : QEvent(kind()), work_(std::move(work)) {}

  static Type kind() {
    static const int number = registerEventType();
    return static_cast<Type>(number);
  }
  void run() const { work_(); }

 private:
  const std::function<void()> work_;
};

}  // namespace

void QtScheduler::Receiver::post(std::function<void()> work) {
  auto* const event = new WorkEvent(std::move(work));  // the event queue's from here on
  posts_.fetch_add(1, std::memory_order_release);
  QCoreApplication::postEvent(this, event);
}

bool QtScheduler::Receiver::event(QEvent* event) {
  posts_.load(std::memory_order_acquire);
  if (event->type() != WorkEvent::kind()) return QObject::event(event);
  static_cast<const WorkEvent*>(event)->run();
  return true;
}

void QtScheduler::post(std::function<void()> work) { receiver_.post(std::move(work)); }

std::unique_ptr<ScheduledWork> QtScheduler::after(std::chrono::milliseconds delay, std::function<void()> work) {
  return std::make_unique<TimerWork>(delay, TimerWork::Repeat::once, std::move(work));
}

std::unique_ptr<ScheduledWork> QtScheduler::every(std::chrono::milliseconds interval, std::function<void()> work) {
  return std::make_unique<TimerWork>(interval, TimerWork::Repeat::forever, std::move(work));
}

}  // namespace brindlemux
