#include <algorithm>
#include <cmath>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

/// Two applications on a device of 4 channels: "steady" on the outputs 0 and 1, which the headphones play, and
/// "neighbour" on the outputs 2 and 3. The block is one that a machine without real-time guarantees holds.
std::string twoApplications() {
  return graphText({{"masterGain", "0.5"}, {"latencyFrames", "2048"}},
                   {{applicationKind("steady"), {{0, 0}, {1, 1}}}, {applicationKind("neighbour"), {{0, 2}, {1, 3}}}},
                   {{"headphones", {{0, 0}, {1, 1}}}});
}

/// The program in this process, with the steady application at work, and whoever misbehaves beside it.
class HostileNeighbours : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::copy_file(session.programPath("pw-cat"), session.file("steady"));
    const auto tones = session.writeStereo("tones.wav", sineTone(200 * second, 1000, 0.5, rate),
                                           sineTone(200 * second, 1500, 0.25, rate));
    steady = session.launchUrgently({session.file("steady").string(), "--playback", tones.string()});
    ASSERT_TRUE(eventually([&] { return isRouted(); }, 40s)) << level() << session.report();
  }

  /// The newest 0.25 s of a recording, one vector a channel; empty ones when there are none yet.
  static std::vector<std::vector<float>> newest(const Recorder& recorder) { return recorder.newest(second / 4); }
  static bool hasTone(const std::vector<float>& samples, double frequencyHz, double amplitude) {
    return !samples.empty() && std::abs(toneLevelDb(samples, frequencyHz, rate) - decibels(amplitude)) < 0.1;
  }
  /// Whether the steady application is heard as it should: 0.5 and 0.25, halved by the master gain.
  bool isRouted() const {
    const auto heard = newest(device);
    const auto played = newest(monitor);
    return hasTone(heard[0], 1000, 0.25) && hasTone(heard[1], 1500, 0.125) && hasTone(played[0], 1000, 0.25) &&
           hasTone(played[1], 1500, 0.125);
  }
  /// For a failure's message.
  std::string level() const {
    std::string text = "levels:";
    for (const auto& recorder : {&device, &monitor}) {
      for (const auto& samples : newest(*recorder)) {
        text += " " + (samples.empty() ? "none" : std::to_string(toneLevelDb(samples, 1000, rate)));
      }
    }
    return text + "\n";
  }
  /// Everything that has been heard on the outputs that nothing of the neighbour's is wired to.
  std::vector<float> unwired() const {
    std::vector<float> samples;
    for (const auto& recorder : {&device, &monitor}) {
      const auto channels = recorder->all();
      for (std::size_t i = 0; i < 2; ++i) samples.insert(samples.end(), channels[i].begin(), channels[i].end());
    }
    return samples;
  }
  /// Lets that much more be recorded while the program works on.
  bool listen(std::size_t frames) {
    const std::size_t end = device.frames() + frames;
    return eventually([&] { return device.frames() >= end; });
  }
  /// Whether the steady application's meter shows it: peaks of 0.5 and 0.25, of a tap at most a sample off.
  bool isMetered() {
    const auto source = UUID::parse(sourceIDInText(0));
    return eventually([&] {
      const auto snapshot = program.state.meters().find(uid);
      if (snapshot == program.state.meters().end()) return false;
      const auto peaks = snapshot->second.sourcePeaks.find(*source);
      return peaks != snapshot->second.sourcePeaks.end() && peaks->second.size() >= 2 &&
             std::abs(peaks->second[0] - 0.5F) < 0.01F && std::abs(peaks->second[1] - 0.25F) < 0.01F &&
             snapshot->second.outputPeaks.size() == 4 && std::isfinite(snapshot->second.outputPeaks[2]);
    });
  }
  std::unique_ptr<ChildProcess> neighbour(const std::vector<std::string>& arguments) {
    std::vector<std::string> command = {BRINDLEMUX_NEIGHBOUR};
    command.insert(command.end(), arguments.begin(), arguments.end());
    auto process = session.server().launch(std::move(command));
    EXPECT_TRUE(eventually([&] { return process->output() == "ready\n"; })) << process->error();
    return process;
  }
  void expectRoutedAgain() {
    EXPECT_TRUE(eventually([&] { return isRouted(); })) << level() << session.report();
    EXPECT_TRUE(isMetered());
    EXPECT_EQ(program.state.errorMessage(), std::nullopt);
    EXPECT_TRUE(session.server().running());
  }
  bool writes(const std::string& key, const std::string& value, const std::string& subject = "0") {
    return session.server().run({"pw-metadata", "-n", "com.brindlemux.driver", subject, key, value}).status == 0;
  }

  RoutingSession session{4, twoApplications(), RoutingSession::Program::absent};
  const std::string uid = RoutingSession::deviceUID;
  ControllerSession program{session};
  std::unique_ptr<ChildProcess> steady;
  Recorder device{session, Recorder::Interface::pulse, Recorder::Of::input, uid + ".source", 4};
  Recorder monitor{session, Recorder::Interface::pulse, Recorder::Of::output, "headphones", 2};
};

TEST_F(HostileNeighbours, whoDeletesOurLinksAndNodesDoesNotKeepThemAway) {
  for (int round = 0; round < 2; ++round) {
    const ServerDump dump(session.server());
    const auto ours = session.programNodes();
    const auto isOurs = [&](std::int64_t id) {
      return std::ranges::any_of(
          dump.nodes(), [&](const ServerDump::Node& node) { return node.id == id && ours.contains(node.serial); });
    };
    int deleted = 0;
    for (const ServerDump::Link& link : dump.links()) {
      if (!isOurs(link.outputNode) && !isOurs(link.inputNode)) continue;
      EXPECT_EQ(session.server().run({"pw-cli", "destroy", std::to_string(link.id)}).status, 0);
      ++deleted;
    }
    // Of the two channels of the tap, of 4 of the device's output and input, and of 2 of the headphones'.
    EXPECT_EQ(deleted, 2 + 4 + 4 + 2);
    expectRoutedAgain();
  }
  for (int round = 0; round < 2; ++round) {
    const auto before = session.programNodes();
    ASSERT_EQ(before.size(), 4U);
    const ServerDump dump(session.server());
    for (const ServerDump::Node& node : dump.nodes()) {
      if (!before.contains(node.serial)) continue;
      EXPECT_EQ(session.server().run({"pw-cli", "destroy", std::to_string(node.id)}).status, 0);
    }
    EXPECT_TRUE(eventually([&] {
      const auto after = session.programNodes();
      return after.size() == before.size() &&
             std::ranges::none_of(after, [&](const auto& entry) { return before.contains(entry.first); });
    })) << "the nodes are not made again";
    expectRoutedAgain();
  }
}

TEST_F(HostileNeighbours, whoWritesToOurMetadataChangesNothingButByAListThatCounts) {
  const auto nodes = session.programNodes();
  const std::string long64k(60'000, 'x');
  for (const std::string& value :
       {std::string("garbage"), std::string("{\"devices\":[{\"uid\":\"\",\"name\":\"\",\"channels\":-1}]}"),
        std::string("{}"), std::string("[[[[[[[[[[[[[[[[[[[[[["), long64k}) {
    EXPECT_TRUE(writes("bxcf", value));
  }
  EXPECT_TRUE(writes("other", "value"));
  EXPECT_TRUE(writes("bxcf", "{\"devices\":[]}", "7"));
  session.server().run({"pw-metadata", "-n", "com.brindlemux.driver", "-d", "0"});
  expectRoutedAgain();
  EXPECT_EQ(session.programNodes(), nodes);
  EXPECT_EQ(program.state.virtualDevices().size(), 1U);

  // A list that the driver accepts is in force, whoever wrote it; with it back the route is back.
  const std::string list = R"({"devices":[{"uid":")" + uid + R"(","name":"Test Device","channels":4}]})";
  EXPECT_TRUE(writes("bxcf", "{\"devices\":[]}"));
  const auto isThere = [&] {
    return std::ranges::any_of(program.state.audioDevices(), [&](const auto& info) { return info.uid == uid; });
  };
  EXPECT_TRUE(eventually([&] { return !isThere(); }));
  EXPECT_TRUE(writes("bxcf", list));
  EXPECT_TRUE(eventually(isThere));
  EXPECT_TRUE(eventually([&] { return session.programNodes().size() == nodes.size(); })) << session.report();
  Recorder again{session, Recorder::Interface::native, Recorder::Of::input, uid + ".source", 4};
  EXPECT_TRUE(eventually([&] { return hasTone(newest(again)[0], 1000, 0.25); })) << session.report();
  EXPECT_TRUE(isMetered());
}

TEST_F(HostileNeighbours, whoTakesOurNamesHearsNothingOfOurs) {
  const auto loopback = [&](const std::string& capture, const std::string& playback) {
    return session.server().launch(
        {"pw-loopback", "-C", "0", "-P", "0", "--capture-props=" + capture, "--playback-props=" + playback});
  };
  const std::string positions = " audio.channels=4 audio.position=[AUX0 AUX1 AUX2 AUX3]";
  const auto ourTaps = ServerDump(session.server()).nodesNamed("brindlemux.tap").size();
  std::vector<std::unique_ptr<ChildProcess>> impostors;
  // A sink of the device's name, one that claims to be the device, and nodes that are called like the program's.
  impostors.push_back(loopback("media.class=Audio/Sink node.name=" + uid + positions, "node.name=impostor.a"));
  impostors.push_back(
      loopback("media.class=Audio/Sink node.name=" + uid + " brindlemux.device.uid=" + uid + positions,
               "media.class=Audio/Source node.name=" + uid + ".source brindlemux.device.uid=" + uid + positions));
  impostors.push_back(loopback("node.name=brindlemux.tap node.group=brindlemux", "node.name=brindlemux.output." + uid));
  EXPECT_TRUE(eventually([&] {
    const ServerDump dump(session.server());
    return dump.nodesNamed(uid).size() == 3 && dump.nodesNamed("brindlemux.tap").size() > ourTaps;
  })) << session.report();
  ASSERT_TRUE(listen(second));

  const ServerDump dump(session.server());
  const auto outputs = dump.nodesNamed("brindlemux.output." + uid);
  const auto sinks = dump.nodesNamed(uid);
  ASSERT_FALSE(sinks.empty());
  // The driver's own is the eldest.
  for (const ServerDump::Node& output : outputs) {
    for (std::size_t i = 1; i < sinks.size(); ++i) EXPECT_EQ(dump.linkCount(output, sinks[i]), 0) << "impostor " << i;
  }
  expectRoutedAgain();
  EXPECT_EQ(program.state.virtualDevices().size(), 1U);
  for (auto& impostor : impostors) impostor->stop(SIGTERM);
  expectRoutedAgain();
}

TEST_F(HostileNeighbours, whoFloodsTheServerWithStreamsChangesNothing) {
  const auto streams = neighbour({"500", "2", "0.25"});
  expectRoutedAgain();
  EXPECT_TRUE(std::ranges::all_of(unwired(), [](float sample) { return std::abs(sample) < 0.5F; }));
  streams->stop(SIGKILL);
  expectRoutedAgain();
}

TEST_F(HostileNeighbours, whatSomebodyPlaysStaysOnItsWires) {
  // Silence of no channel, loud ones of 64, samples that are no numbers, and samples without bounds.
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{"1", "0", "0", "links"},
                                                    {"1", "64", "0.25", "links"},
                                                    {"1", "2", "nan", "links"},
                                                    {"1", "2", "inf", "links"},
                                                    {"1", "2", "-3e38", "links"}}) {
    SCOPED_TRACE(arguments[1] + " channels of " + arguments[2]);
    const auto player = neighbour(arguments);
    ASSERT_TRUE(listen(second));
    expectRoutedAgain();
    player->stop(SIGKILL);
  }
  // Nothing has ever been on a wire of the steady application's: its own peak is 0.5, halved.
  EXPECT_TRUE(std::ranges::all_of(unwired(), [](float sample) { return std::abs(sample) < 0.26F; }));
  // Neither has anything stayed behind.
  EXPECT_TRUE(eventually([&] {
    const auto heard = newest(device);
    return !heard[2].empty() && std::ranges::all_of(heard[2], [](float sample) { return sample == 0.0F; });
  }));
  const auto player = neighbour({"1", "2", "0.25", "links"});
  EXPECT_TRUE(eventually([&] {
    const auto heard = newest(device);
    return !heard[2].empty() && std::ranges::all_of(heard[2], [](float sample) { return sample == 0.125F; });
  })) << "a player with good samples is not heard after one with bad ones";
}

}  // namespace
}  // namespace brindlemux::test
