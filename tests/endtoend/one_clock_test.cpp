#include <algorithm>
#include <chrono>
#include <fstream>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/cycle_watch.h"
#include "endtoend/levels.h"
#include "endtoend/routing_session.h"
#include "support/repetitions.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {
namespace {

// A long run, or another block size, is asked for in the environment.
const std::int64_t wantedFrames = std::int64_t{repetitions("BRINDLEMUX_ROUTE_SECONDS", 5)} * 48000;
const std::int64_t blockFrames = repetitions("BRINDLEMUX_ROUTE_FRAMES", 1024);

/// An application that plays a tone without an end, into the default output.
std::unique_ptr<ChildProcess> playForever(const RoutingSession& session) {
  // A whole number of periods, so that one round joins the next.
  const std::vector<float> tone = sineTone(second, 1000, 0.5, rate);
  const auto file = session.file("tone.raw");
  std::ofstream stream(file, std::ios::binary);
  for (const float sample : tone) {
    for (int channel = 0; channel < 2; ++channel) stream.write(reinterpret_cast<const char*>(&sample), sizeof sample);
  }
  stream.close();
  return session.launchUrgently(
      {"sh", "-c",
       "while cat '" + file.string() + "'; do :; done | paplay --raw --format=float32le --rate=48000 --channels=2"});
}

/// An application, a microphone and everything that is played, to a device and two monitors.
class OneClock : public testing::Test {
 protected:
  void SetUp() override {
    state.updateGraph(uid, AppState::Persist::no, [&](DeviceGraph& graph) { route(graph); });
    ASSERT_TRUE(eventually([&] {
      return session.programNodes().size() == nodes && isLinked("paplay:output_FR", "brindlemux.tap:input_2") &&
             isLinked("mic:capture_FR", "brindlemux.input.mic:input_2") &&
             isLinked("brindlemux.output.headphones:output_2", "headphones:playback_FR") &&
             isLinked("brindlemux.output.speakers:output_2", "speakers:playback_FR");
    })) << session.report();
    for (const std::string side : {"FL", "FR"}) {
      EXPECT_EQ(session.server().run({"pw-link", "paplay:output_" + side, "mic:input_" + side}).status, 0);
    }
    ASSERT_TRUE(haveRendered(startUpFrames)) << session.report();
  }
  void TearDown() override { state.shutdown(); }

  /// Waits until each output has rendered that many frames in all.
  bool haveRendered(std::int64_t frames) {
    const std::int64_t blocks = outputs * frames / blockFrames;
    return eventually([&] { return statistics().renderedBlocks >= blocks; },
                      std::chrono::seconds(20 + 2 * frames / 48000));
  }
  EngineStatistics statistics() const { return *state.statistics(uid); }

  static constexpr std::int64_t startUpFrames = 2 * 48000;
  RoutingSession session{2, "{}", RoutingSession::Program::absent};
  const std::string uid = RoutingSession::deviceUID;
  std::unique_ptr<ChildProcess> player = playForever(session);
  ControllerSession program{session};
  AppState& state = program.state;

 private:
  static constexpr std::int64_t outputs = 3;  // the device and two monitors
  static constexpr std::size_t nodes = 7;     // and two taps, the microphone and the device's own input

  void route(DeviceGraph& graph) {
    graph.latencyFrames = blockFrames;
    graph.sources = {{.id = program.uuids.next(), .kind = AppSource{"pacat", "Player"}},
                     {.id = program.uuids.next(), .kind = MicSource{"mic", "Microphone"}},
                     {.id = program.uuids.next(), .kind = SystemAudioSource{}}};
    graph.monitors = {{.id = program.uuids.next(), .deviceUID = "headphones", .name = "Headphones"},
                      {.id = program.uuids.next(), .deviceUID = "speakers", .name = "Speakers"}};
    for (const std::int64_t side : {0, 1}) {
      for (const SourceNodeConfig& source : graph.sources) graph.wires.push_back({source.id, side, side});
      for (const MonitorNodeConfig& monitor : graph.monitors) graph.monitorWires.push_back({side, monitor.id, side});
    }
  }
  bool isLinked(const std::string& output, const std::string& input) {
    return session.waitUntilLinked(output, input, std::chrono::milliseconds(0));
  }
};

TEST_F(OneClock, drivesEveryNodeOfTheRoute) {
  CycleWatch watch(session.server());
  std::map<std::string, std::set<std::string>> drivers;
  const std::vector<std::string> route = {"paplay",
                                          "mic",
                                          uid,
                                          uid + ".source",
                                          "speakers",
                                          "headphones",
                                          "brindlemux.tap",
                                          "brindlemux.input.mic",
                                          "brindlemux.input." + uid,
                                          "brindlemux.output." + uid,
                                          "brindlemux.output.speakers",
                                          "brindlemux.output.headphones"};
  ASSERT_TRUE(eventually([&] {
    drivers.merge(watch.takeDrivers());
    return std::ranges::all_of(route, [&](const std::string& name) { return drivers.contains(name); });
  })) << session.report();
  // Whoever drove while the route came about no longer matters; a second of cycles does.
  watch.takeDrivers();
  ASSERT_TRUE(haveRendered(statistics().renderedBlocks / 3 * blockFrames + 48000)) << session.report();
  drivers = watch.takeDrivers();
  const std::set<std::string> driver = drivers["brindlemux.tap"];
  EXPECT_EQ(driver.size(), 1U);
  for (const std::string& name : route) EXPECT_EQ(drivers[name], driver) << name;
}

// A long run on a machine that has nothing else to do is one command: scripts/route-for-long.sh.
TEST_F(OneClock, noReaderIsMovedOnceTheRouteRuns) {
  const EngineStatistics start = statistics();
  constexpr std::int64_t minute = std::int64_t{60} * 48000;
  for (std::int64_t frames = 0; frames < wantedFrames; frames += minute) {
    ASSERT_TRUE(haveRendered(startUpFrames + std::min(wantedFrames, frames + minute))) << text(statistics());
    if (wantedFrames > minute) std::cout << text(statistics()) << std::endl;
  }
  const EngineStatistics end = statistics();
  EXPECT_EQ(state.blockFrames(uid), blockFrames);
  EXPECT_EQ(end.repositionings, start.repositionings) << text(end);
  EXPECT_EQ(end.droppedBlocks, 0) << text(end);
}

}  // namespace
}  // namespace brindlemux::test
