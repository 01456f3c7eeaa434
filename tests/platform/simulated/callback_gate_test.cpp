#include "platform/simulated/callback_gate.h"

#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <thread>

namespace brindlemux {
namespace {

TEST(CallbackGate, callsPassOnlyWhileItIsOpen) {
  CallbackGate<int> gate(7);
  int calls = 0;
  const auto count = [&calls](int value) { calls += value; };
  gate.pass(count);
  EXPECT_EQ(calls, 0);
  gate.open();
  gate.pass(count);
  EXPECT_EQ(calls, 7);
  gate.close();
  gate.pass(count);
  EXPECT_EQ(calls, 7);
}

// The call ends only after the main thread has begun to close: whatever the order of what follows, it has ended by the
// time that close() returns.
TEST(CallbackGate, closingWaitsForTheCallThatRuns) {
  CallbackGate<int> gate(0);
  gate.open();
  std::latch running(1);
  std::latch closing(1);
  std::atomic<bool> ended = false;
  std::thread caller([&] {
    gate.pass([&](int) {
      running.count_down();
      closing.wait();
      ended = true;
    });
  });
  running.wait();
  closing.count_down();
  gate.close();
  EXPECT_TRUE(ended);
  caller.join();
}

}  // namespace
}  // namespace brindlemux
