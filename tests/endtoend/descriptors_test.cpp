#include <chrono>
#include <cstddef>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/levels.h"
#include "endtoend/routing_session.h"
#include "support/process_size.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {
namespace {

constexpr int rounds = 40;
/// What the library's pools may keep open meanwhile. A node has three descriptors of its own and one for each node that
/// it waits for or wakes.
constexpr std::size_t margin = rounds / 4;

/// The application's tap, the device's output, the capture of its loop, and the monitor.
constexpr std::size_t nodes = 4;

std::size_t openDescriptors() { return ProcessSize::of(getpid()).fileDescriptors; }

TEST(Descriptors, ofRoutesThatEndAreClosed) {
  RoutingSession session(2, "{}", RoutingSession::Program::absent);
  const std::string uid = RoutingSession::deviceUID;
  const auto tone = sineTone(60 * second, 1000, 0.5F, rate);
  const auto player =
      session.launchUrgently({"pw-cat", "--playback", session.writeStereo("tone.wav", tone, tone).string()});

  ControllerSession program(session);
  AppState& state = program.state;
  const UUID source = program.uuids.next();
  const UUID monitor = program.uuids.next();
  const auto route = [&](bool isEnabled, const char* output) {
    state.updateGraph(uid, AppState::Persist::no, [&](DeviceGraph& graph) {
      graph.enabled = isEnabled;
      graph.latencyFrames = 2048;
      graph.sources = {{.id = source, .kind = AppSource{"pw-cat", "Player"}}};
      graph.wires = {{source, 0, 0}, {source, 1, 1}};
      graph.monitors = {{.id = monitor, .deviceUID = output, .name = "Monitor"}};
      graph.monitorWires = {{0, monitor, 0}, {1, monitor, 1}};
    });
  };
  const auto isSettled = [&] { return session.programNodes().size() == nodes; };
  route(true, "headphones");
  ASSERT_TRUE(eventually(isSettled)) << session.report();
  const std::size_t before = openDescriptors();
  for (int i = 0; i < rounds; ++i) {
    for (const char* output : {"speakers", "headphones", i % 2 == 0 ? "speakers" : "headphones"}) {
      route(false, output);
      route(true, output);
    }
    ASSERT_TRUE(eventually(isSettled)) << session.report();
  }
  EXPECT_TRUE(eventually([&] { return openDescriptors() <= before + margin; }))
      << before << " before, " << openDescriptors() << " after " << rounds << " rounds";
}

}  // namespace
}  // namespace brindlemux::test
