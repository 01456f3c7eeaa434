#pragma once

#include <QDeadlineTimer>
#include <QEventLoop>
#include <chrono>

namespace brindlemux::test {

/// Runs the event loop until the condition holds, for at most `deadline`. Returns whether it holds.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
  QEventLoop loop;
  for (const QDeadlineTimer end(deadline); !condition();) {
    if (end.hasExpired()) return false;
    loop.processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents, 20);
  }
  return true;
}

}  // namespace brindlemux::test
