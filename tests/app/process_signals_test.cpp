#include "app/shell/process_signals.h"

#include <csignal>
#include <gtest/gtest.h>

#include "app/event_loop.h"

namespace brindlemux {
namespace {

TEST(ProcessSignals, eachSignalIsDelivered) {
  for (const int number : {SIGTERM, SIGINT}) {
    ProcessSignals signals({SIGTERM, SIGINT});
    signals.listen();
    int received = 0;
    QObject::connect(&signals, &ProcessSignals::received, [&received] { ++received; });
    // To this thread, as a library that has made threads already may not hold it back in all of them.
    ASSERT_EQ(pthread_kill(pthread_self(), number), 0);
    EXPECT_EQ(received, 0);
    EXPECT_TRUE(test::eventually([&] { return received == 1; })) << "signal " << number;
  }
}

}  // namespace
}  // namespace brindlemux
