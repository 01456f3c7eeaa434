#include "app/shell/process_signals.h"

#include <csignal>
#include <gtest/gtest.h>

#include "app/event_loop.h"

namespace brindlemux {
namespace {

TEST(ProcessSignals, eachSignalIsDelivered) {
  // Whoever runs the tests may have them ignore this one.
  const auto former = signal(SIGHUP, SIG_DFL);
  for (const int number : {SIGTERM, SIGINT, SIGHUP}) {
    ProcessSignals signals({SIGTERM, SIGINT, SIGHUP});
    signals.listen();
    int received = 0;
    QObject::connect(&signals, &ProcessSignals::received, [&received] { ++received; });
    // To this thread, as a library that has made threads already may not hold it back in all of them.
    ASSERT_EQ(pthread_kill(pthread_self(), number), 0);
    EXPECT_EQ(received, 0);
    EXPECT_TRUE(test::eventually([&] { return received == 1; })) << "signal " << number;
  }
  signal(SIGHUP, former);
}

TEST(ProcessSignals, hangUpThatIsIgnoredStaysSo) {
  const auto former = signal(SIGHUP, SIG_IGN);
  sigset_t held;
  sigemptyset(&held);
  sigaddset(&held, SIGHUP);
  // An earlier test may have left it held back.
  ASSERT_EQ(pthread_sigmask(SIG_UNBLOCK, &held, nullptr), 0);
  const ProcessSignals signals({SIGTERM, SIGHUP});
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &held), 0);
  EXPECT_TRUE(sigismember(&held, SIGTERM));
  EXPECT_FALSE(sigismember(&held, SIGHUP));
  signal(SIGHUP, former);
}

}  // namespace
}  // namespace brindlemux
