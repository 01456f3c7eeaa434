#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <chrono>

namespace brindlemux::test {

/// Runs the event loop until the condition holds, for at most `deadline`. Returns whether it holds. Between events it
/// sleeps, and looks anew often enough for what other threads and programs do.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
  QEventLoop loop;
  QTimer look;
  look.start(std::chrono::milliseconds(2));
  for (const QDeadlineTimer end(deadline); !condition();) {
    if (end.hasExpired()) return false;
    loop.processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
  }
  return true;
}

}  // namespace brindlemux::test
