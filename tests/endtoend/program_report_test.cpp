#include <csignal>
#include <gtest/gtest.h>
#include <regex>
#include <string>

#include "endtoend/routing_session.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

constexpr const char* playedGraph = R"({
  "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F": {
    "deviceUID": "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F",
    "latencyFrames": 512,
    "sources": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "kind": {"mic": {"deviceUID": "mic", "name": "Mic"}}}],
    "wires": [{"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 0, "outputChannel": 0}]
  }
})";

TEST(ProgramReport, tellsOnASignalHowTheRoutesAreDoing) {
  RoutingSession session(2, playedGraph);
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

}  // namespace
}  // namespace brindlemux::test
