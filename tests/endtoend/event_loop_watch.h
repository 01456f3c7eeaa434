#pragma once

#include <QObject>
#include <QTimer>
#include <algorithm>
#include <chrono>

namespace brindlemux::test {

/// Measures how long the event loop of this thread leaves its work waiting: a timer that fires late by that much.
///
/// Threads: the one that made it, whose event loop has to run.
class EventLoopWatch {
 public:
  EventLoopWatch() {
    QObject::connect(&timer_, &QTimer::timeout, [this] { tick(); });
    timer_.setTimerType(Qt::PreciseTimer);
    timer_.start(interval);
  }

  /// The longest delay since the beginning.
  std::chrono::milliseconds longest() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::max(longest_, sinceLast() - interval));
  }
  void forget() {
    longest_ = {};
    last_ = Clock::now();
  }

 private:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds interval{5};

  Clock::duration sinceLast() const { return Clock::now() - last_; }
  void tick() {
    longest_ = std::max<Clock::duration>(longest_, sinceLast() - interval);
    last_ = Clock::now();
  }

  QTimer timer_;
  Clock::time_point last_ = Clock::now();
  Clock::duration longest_ = {};
};

}  // namespace brindlemux::test
