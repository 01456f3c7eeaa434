// What the program leaves as it found it.
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/routing_session.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

/// All system audio to the device, and a monitor that is switched off: nothing of it needs hardware.
std::string quietGraph() {
  return graphText({}, {{systemAudioKind(), {{0, 0}, {1, 1}}}}, {{"headphones", {}, {{"enabled", "false"}}}});
}

/// Everything that a route can have: a microphone, all system audio, the device and a monitor.
std::string fullGraph() {
  return graphText({{"latencyFrames", "1024"}}, {{systemAudioKind(), {{0, 0}}}, {inputKind("mic"), {{0, 1}}}},
                   {{"headphones", {{0, 0}}}});
}

class GoodNeighbour : public testing::Test {
 protected:
  /// What others can see of the server: its nodes, its links, and what the session keeps about them.
  struct Picture {
    std::multiset<std::string> nodes;
    std::multiset<std::pair<std::string, std::string>> links;
    std::string settings;

    friend bool operator==(const Picture&, const Picture&) = default;
  };

  Picture picture(RoutingSession& session) {
    Picture picture;
    const ServerDump dump(session.server());
    const auto nameOf = [&](std::int64_t id) {
      const auto found = std::ranges::find(dump.nodes(), id, &ServerDump::Node::id);
      return found == dump.nodes().end() ? std::string() : found->property("node.name");
    };
    for (const ServerDump::Node& node : dump.nodes()) picture.nodes.insert(node.property("node.name"));
    for (const ServerDump::Link& link : dump.links()) {
      picture.links.emplace(nameOf(link.outputNode), nameOf(link.inputNode));
    }
    for (const char* const name : {"default", "settings", "com.brindlemux.driver"}) {
      picture.settings += session.server().run({"pw-metadata", "-n", name}).output;
    }
    return picture;
  }

  std::string stateOf(RoutingSession& session, const std::string& name) {
    const auto node = ServerDump(session.server()).node(name);
    return node ? node->state : "gone";
  }
};

TEST_F(GoodNeighbour, everyDefaultAndEverySettingStaysWhileRoutesComeAndGo) {
  RoutingSession session(2, fullGraph(), RoutingSession::Program::absent);
  const auto tone =
      session.writeStereo("tone.wav", sineTone(60 * second, 1000, 0.1, rate), sineTone(60 * second, 1000, 0.1, rate));
  const auto player = session.play(tone);
  ASSERT_TRUE(session.waitUntilLinked("pw-play:output_FR", "speakers:playback_FR")) << session.report();
  const Picture before = picture(session);
  EXPECT_NE(before.settings.find(R"(key:'default.audio.sink' value:'{"name":"speakers"}')"), std::string::npos);

  const auto program = session.startAgain();
  ASSERT_TRUE(session.waitUntilLinked("brindlemux.output.headphones:output_1", "headphones:playback_FL") &&
              session.waitUntilLinked("mic:capture_FL", "brindlemux.input.mic:input_1") &&
              session.waitUntilLinked("pw-play:output_FR", "brindlemux.tap:input_2"))
      << program->error() << session.report();
  EXPECT_EQ(picture(session).settings, before.settings);
  EXPECT_EQ(program->stop(SIGTERM), 0);
  EXPECT_TRUE(waitUntil([&] { return picture(session) == before; })) << picture(session).settings;
}

TEST_F(GoodNeighbour, ofAKilledProgramNothingIsLeft) {
  RoutingSession session(2, fullGraph(), RoutingSession::Program::absent);
  const Picture before = picture(session);
  const auto program = session.startAgain();
  ASSERT_TRUE(session.waitUntilLinked("brindlemux.output.headphones:output_1", "headphones:playback_FL") &&
              session.waitUntilLinked("mic:capture_FL", "brindlemux.input.mic:input_1"))
      << program->error() << session.report();
  EXPECT_NE(picture(session), before);
  program->signal(SIGKILL);
  ASSERT_TRUE(program->wait(std::chrono::seconds(5)).has_value());
  EXPECT_TRUE(waitUntil([&] { return picture(session) == before; })) << picture(session).settings;
}

TEST_F(GoodNeighbour, sleepingHardwareSleepsOn) {
  RoutingSession session(2, quietGraph(), RoutingSession::Program::absent);
  const std::vector<std::string> hardware = {"speakers", "headphones", "mic"};
  const auto sleeps = [&](const std::string& name) { return stateOf(session, name) == "suspended"; };
  // The session manager lets a device sleep after five seconds.
  for (const std::string& name : hardware) {
    ASSERT_TRUE(waitUntil([&] { return sleeps(name); }, std::chrono::seconds(30))) << name << stateOf(session, name);
  }
  const auto program = session.startAgain();
  // The tap, the device's output and its own input; meanwhile and after, a few dozen looks.
  const auto isRunning = [&] { return session.programNodes().size() == 3; };
  int looks = 0;
  EXPECT_TRUE(waitUntil(
      [&] {
        for (const std::string& name : hardware) EXPECT_TRUE(sleeps(name)) << name;
        return isRunning() && ++looks == 30;
      },
      std::chrono::seconds(60)))
      << program->error() << session.report();
  // No input was opened to list it.
  for (const auto& [serial, name] : session.programNodes()) EXPECT_NE(name, "brindlemux.input.mic");

  // What plays wakes the device that it plays to, and no other.
  const auto player = session.play(
      session.writeStereo("tone.wav", sineTone(2 * second, 1000, 0.1, rate), sineTone(2 * second, 1000, 0.1, rate)));
  ASSERT_TRUE(session.waitUntilLinked("pw-play:output_FR", "brindlemux.tap:input_2")) << session.report();
  EXPECT_TRUE(waitUntil([&] { return stateOf(session, "speakers") == "running"; })) << session.report();
  EXPECT_TRUE(sleeps("headphones"));
  EXPECT_TRUE(sleeps("mic"));
  ASSERT_TRUE(player->wait(std::chrono::seconds(30)).has_value());
  EXPECT_TRUE(waitUntil([&] { return sleeps("speakers"); }, std::chrono::seconds(30))) << stateOf(session, "speakers");
  EXPECT_EQ(program->stop(SIGTERM), 0);
}

}  // namespace
}  // namespace brindlemux::test
