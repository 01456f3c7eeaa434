#include <csignal>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <sys/resource.h>

#include "endtoend/graph_text.h"
#include "endtoend/routing_session.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

std::string playedGraph() { return graphText({{"latencyFrames", "512"}}, {{inputKind("mic"), {{0, 0}}}}, {}); }

TEST(ProgramReport, tellsOnASignalHowTheRoutesAreDoing) {
  RoutingSession session(2, playedGraph());
  const std::regex line(
      "Brindlemux: Test Device: 48000 of 48000 Hz, blocks of 512 of 512 frames; [1-9][0-9]* blocks rendered, the "
      "longest in [0-9]+\\.[0-9]{3} ms; [0-9]+ repositionings, [0-9]+ underruns, 0 blocks dropped\n");
  ASSERT_TRUE(waitUntil([&] { return session.programNodes().size() == 3; })) << session.report();
  // Until the server's blocks are those of the route.
  EXPECT_TRUE(waitUntil([&] {
    session.program().signal(SIGUSR1);
    return std::regex_search(session.program().error(), line);
  })) << session.report();
}

TEST(ProgramLimits, asManyFilesAsTheSystemAllowsMayBeOpen) {
  RoutingSession session(2, "{}", RoutingSession::Program::absent);
  rlimit own{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &own), 0);
  ASSERT_GT(own.rlim_max, 1000U);
  // What the program is started with; the limit that nobody can raise is this process's too.
  const rlimit few{.rlim_cur = 1000, .rlim_max = own.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
  const auto program = session.startAgain();
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &own), 0);
  rlimit raised{};
  EXPECT_TRUE(waitUntil([&] {
    return prlimit(program->pid(), RLIMIT_NOFILE, nullptr, &raised) == 0 && raised.rlim_cur == own.rlim_max;
  })) << raised.rlim_cur;
}

}  // namespace
}  // namespace brindlemux::test
