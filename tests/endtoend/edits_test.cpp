#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/levels.h"
#include "endtoend/numbered_samples.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"
#include "support/stall_watch.h"

namespace brindlemux::test {
namespace {

constexpr int channels = 6;

/// A player under a name of its own, so that it is an application of its own.
class Player {
 public:
  Player(const RoutingSession& session, const std::string& name, std::uint32_t seed)
      : left(numberedSamples(80 * second, seed)), right(numberedSamples(80 * second, seed + 1000000)) {
    const std::filesystem::path program = session.file(name);
    std::filesystem::copy_file(session.programPath("pw-cat"), program);
    process_ = session.launchUrgently(
        {program.string(), "--playback", session.writeStereo(name + ".wav", left, right).string()});
  }

  const std::vector<float> left;
  const std::vector<float> right;

 private:
  std::unique_ptr<ChildProcess> process_;
};

SourceNodeConfig source(const UUID& id, SourceKindConfig kind) { return {.id = id, .kind = std::move(kind)}; }

TEST(Edits, aThousandOnOneSourceAreNotHeardInAnyOther) {
  const StallWatch machine;
  RoutingSession session(channels, "{}", RoutingSession::Program::absent);
  const std::string uid = RoutingSession::deviceUID;

  const Player edited(session, "edited-player", 1);
  const Player steady(session, "steady-player", 3000000);
  const auto micLeft = numberedSamples(80 * second, 6000000);
  const auto micRight = numberedSamples(80 * second, 7000000);
  const auto microphone = session.playIntoMicrophone(session.writeStereo("mic.wav", micLeft, micRight));

  ControllerSession program(session);
  AppState& state = program.state;
  const UUID editedID = program.uuids.next();
  const UUID steadyID = program.uuids.next();
  const UUID micID = program.uuids.next();
  state.updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) {
    // A block that a machine without real-time guarantees holds.
    graph.latencyFrames = 2048;
    graph.sources = {source(editedID, AppSource{"edited-player", "Edited"}),
                     source(micID, MicSource{"mic", "Microphone"}),
                     source(steadyID, AppSource{"steady-player", "Steady"})};
    graph.wires = {{editedID, 0, 0}, {editedID, 1, 1}, {micID, 0, 2},
                   {micID, 1, 3},    {steadyID, 0, 4}, {steadyID, 1, 5}};
  });
  const auto isLinked = [&](const std::string& output, const std::string& input) {
    return session.waitUntilLinked(output, input, std::chrono::milliseconds(0));
  };
  ASSERT_TRUE(eventually([&] {
    return isLinked("edited-player:output_FR", "brindlemux.tap:input_2") &&
           isLinked("steady-player:output_FR", "brindlemux.tap:input_2") &&
           isLinked("mic:capture_FR", "brindlemux.input.mic:input_2");
  })) << session.report();

  const Recorder device(session, Recorder::Interface::pulse, Recorder::Of::input, uid + ".source", channels);
  // What is compared begins once the route has been running for a while.
  ASSERT_TRUE(eventually([&] { return device.frames() > 3 * second; })) << session.report();
  const auto nodesBefore = session.programNodes();
  EXPECT_EQ(nodesBefore.size(), 5U);  // two taps, the microphone, the device's output and its own input

  constexpr int edits = 1000;
  constexpr std::size_t framesOfAnEdit = 240;
  const auto editAll = [&](std::size_t start) {
    for (int edit = 0; edit < edits; ++edit) {
      state.updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) {
        SourceNodeConfig& node = graph.sources[0];
        switch (edit % 4) {
          case 0:
            node.gain = static_cast<float>(edit) / edits;
            break;
          case 1:
            node.enabled = !node.enabled;
            break;
          case 2:
            node.channelGains = {static_cast<float>(edits - edit) / edits};
            break;
          default:
            // The source's own wire to the first output goes and comes, at the place of another order each time.
            if (std::erase(graph.wires, SourceWire{editedID, 0, 0}) == 0) graph.wires.push_back({editedID, 0, 0});
        }
      });
      const std::size_t due = start + static_cast<std::size_t>(edit) * framesOfAnEdit;
      ASSERT_TRUE(eventually([&] { return device.frames() >= due; })) << session.report();
    }
  };
  const std::vector<const std::vector<float>*> played = {&micLeft, &micRight, &steady.left, &steady.right};
  // What is different in the other sources' channels from one frame to another.
  const auto departures = [&](std::size_t start, std::size_t end) {
    std::string text;
    const auto recorded = device.all();
    const std::size_t length = end - start - second / 2;
    EXPECT_GE(length, edits * framesOfAnEdit);
    for (std::size_t channel = 2; channel < channels; ++channel) {
      const Comparison comparison = compare(*played[channel - 2], recorded[channel], start);
      if (comparison.offset && comparison.exactFrames >= length) continue;
      text += "channel " + std::to_string(channel) + ": " + comparison.departure + "\n";
    }
    return text;
  };
  // A pass during which the machine stood still says nothing and is made again, for as long as the players play.
  constexpr int mostPasses = 5;
  std::string heard;
  bool isJudged = false;
  for (int pass = 0; pass < mostPasses && !isJudged; ++pass) {
    const auto begin = StallWatch::Clock::now();
    const std::size_t start = device.frames();
    ASSERT_NO_FATAL_FAILURE(editAll(start));
    const std::size_t whole = start + edits * framesOfAnEdit + second;
    ASSERT_TRUE(eventually([&] { return device.frames() >= whole; })) << session.report();
    heard = departures(start, whole);
    isJudged = heard.empty() || !machine.sawOneBetween(begin, StallWatch::Clock::now());
  }
  if (!isJudged) GTEST_SKIP() << "the machine stands still too often: " << machine.stalls().size() << " times";
  EXPECT_EQ(heard, "");
  // The last edit is heard in the source itself.
  state.updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) {
    graph.sources[0].enabled = true;
    graph.sources[0].gain = 0.5F;
    graph.sources[0].channelGains.clear();
    std::erase(graph.wires, SourceWire{editedID, 0, 0});
    graph.wires.push_back({editedID, 0, 0});
  });
  const std::size_t end = device.frames() + 2 * second;
  ASSERT_TRUE(eventually([&] { return device.frames() >= end; })) << session.report();
  EXPECT_EQ(session.programNodes(), nodesBefore);
  EXPECT_EQ(state.errorMessage(), std::nullopt);

  const auto recorded = device.all();
  for (const auto& [channel, samples] : {std::pair{0, &edited.left}, std::pair{1, &edited.right}}) {
    std::vector<float> halved = *samples;
    for (float& sample : halved) sample *= 0.5F;
    const Comparison comparison = compare(halved, recorded[static_cast<std::size_t>(channel)], end - second / 2);
    EXPECT_TRUE(comparison.offset.has_value()) << "channel " << channel;
    EXPECT_GE(comparison.exactFrames, second / 4) << "channel " << channel << ", " << comparison.departure;
  }
  state.shutdown();
}

}  // namespace
}  // namespace brindlemux::test
