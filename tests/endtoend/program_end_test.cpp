#include <csignal>
#include <gtest/gtest.h>
#include <string>

#include "endtoend/graph_text.h"
#include "endtoend/routing_session.h"
#include "support/server_dump.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// A device that the headphones play.
std::string monitoredGraph() { return graphText({}, {}, {{"headphones", {}}}); }

class ProgramEnd : public testing::TestWithParam<int> {};

TEST_P(ProgramEnd, aSignalEndsItInOrderAndLeavesNothingBehind) {
  RoutingSession session(2, monitoredGraph());
  // The loop-back capture and the monitor's output.
  ASSERT_TRUE(waitUntil([&] { return session.programNodes().size() == 2; })) << session.report();
  session.program().signal(GetParam());
  EXPECT_EQ(session.program().wait(std::chrono::seconds(5)), 0) << session.report();
  EXPECT_EQ(session.program().error(), "");
  EXPECT_TRUE(session.programNodes().empty());
  // The driver's device stays.
  EXPECT_TRUE(ServerDump(session.server()).node(RoutingSession::deviceUID).has_value());
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramEnd, testing::Values(SIGTERM, SIGINT, SIGHUP), [](const auto& test) {
  return test.param == SIGTERM ? "terminate" : test.param == SIGINT ? "interrupt" : "hangUp";
});

TEST(SessionEnd, aHangUpRightBehindTheSignalCutsNothingShort) {
  RoutingSession session(2, monitoredGraph());
  ASSERT_TRUE(waitUntil([&] { return session.programNodes().size() == 2; })) << session.report();
  session.program().signal(SIGTERM);
  session.program().signal(SIGHUP);
  EXPECT_EQ(session.program().wait(std::chrono::seconds(5)), 0) << session.report();
  EXPECT_EQ(session.program().error(), "");
  EXPECT_TRUE(session.programNodes().empty());
}

TEST(KilledProgram, leavesNothingBehind) {
  RoutingSession session(2, monitoredGraph());
  ASSERT_TRUE(waitUntil([&] { return session.programNodes().size() == 2; })) << session.report();
  session.program().signal(SIGKILL);
  ASSERT_TRUE(session.program().wait(std::chrono::seconds(5)).has_value());
  EXPECT_TRUE(waitUntil([&] { return session.programNodes().empty(); })) << session.report();
}

TEST(ProgramStartedTwice, routesNothingTwice) {
  RoutingSession session(2, monitoredGraph());
  ASSERT_TRUE(waitUntil([&] { return session.programNodes().size() == 2; })) << session.report();
  const auto before = session.programNodes();
  const auto second = session.startAgain();
  EXPECT_EQ(second->wait(std::chrono::seconds(20)), 0) << second->error();
  EXPECT_EQ(second->error(), "");
  EXPECT_EQ(session.programNodes(), before);
  EXPECT_TRUE(session.program().running());
}

}  // namespace
}  // namespace brindlemux::test
