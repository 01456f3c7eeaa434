#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>

#include "endtoend/routing_session.h"
#include "support/server_dump.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// A device that the headphones play.
constexpr const char* monitoredGraph = R"({
  "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F": {
    "deviceUID": "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F",
    "monitors": [
      {"id": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "deviceUID": "headphones", "name": "Headphones"}
    ]
  }
})";

/// How many of the program's own nodes the server has; the driver's are not among them.
std::ptrdiff_t programNodes(const PrivateServer& server) {
  const ServerDump dump(server);
  return std::ranges::count_if(dump.nodes(), [](const ServerDump::Node& node) {
    const std::string name = node.property("node.name");
    return name.starts_with("brindlemux.output") || name.starts_with("brindlemux.input") || name == "brindlemux.tap";
  });
}

class ProgramEnd : public testing::TestWithParam<int> {};

TEST_P(ProgramEnd, aSignalEndsItInOrderAndLeavesNothingBehind) {
  RoutingSession session(2, monitoredGraph);
  // The loop-back capture and the monitor's output.
  ASSERT_TRUE(waitUntil([&] { return programNodes(session.server()) == 2; })) << session.report();
  session.program().signal(GetParam());
  EXPECT_EQ(session.program().wait(std::chrono::seconds(5)), 0) << session.report();
  EXPECT_EQ(session.program().error(), "");
  EXPECT_EQ(programNodes(session.server()), 0);
  // The driver's device stays.
  EXPECT_TRUE(ServerDump(session.server()).node(RoutingSession::deviceUID).has_value());
}

INSTANTIATE_TEST_SUITE_P(Signals, ProgramEnd, testing::Values(SIGTERM, SIGINT),
                         [](const auto& test) { return test.param == SIGTERM ? "terminate" : "interrupt"; });

TEST(KilledProgram, leavesNothingBehind) {
  RoutingSession session(2, monitoredGraph);
  ASSERT_TRUE(waitUntil([&] { return programNodes(session.server()) == 2; })) << session.report();
  session.program().signal(SIGKILL);
  ASSERT_TRUE(session.program().wait(std::chrono::seconds(5)).has_value());
  EXPECT_TRUE(waitUntil([&] { return programNodes(session.server()) == 0; })) << session.report();
}

}  // namespace
}  // namespace brindlemux::test
