#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "endtoend/controller_session.h"
#include "endtoend/event_loop_watch.h"
#include "endtoend/noisy_desktop.h"
#include "endtoend/routing_session.h"
#include "support/held_process.h"
#include "support/repetitions.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* hangsVariable = "BRINDLEMUX_SERVER_HANGS";

constexpr auto waitForProgram = [](auto condition, std::chrono::milliseconds deadline) {
  return waitUntil(condition, deadline);
};
constexpr auto waitOnEventLoop = [](auto condition, std::chrono::milliseconds deadline) {
  return eventually(condition, deadline);
};

TEST(HungServer, doesNotHoldTheEventLoop) {
  // pw-play at times falls silent for good when blocks change under it, as they do here.
  RoutingSession session(noisyChannels, noisyGraph("pacat"), RoutingSession::Program::absent);
  ControllerSession program(session);
  AppState& state = program.state;
  NoisyDesktop desktop(session, waitOnEventLoop, "paplay");
  ASSERT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels()) << session.report();
  const std::string uid = RoutingSession::deviceUID;
  const QString device = QString::fromStdString(uid);
  const auto edit = [&](void (*mutation)(DeviceGraph&)) {
    return [&state, uid, mutation] { state.updateGraph(uid, AppState::Persist::yes, mutation); };
  };
  const std::vector<std::pair<std::string_view, std::function<void()>>> actions = {
      {"refresh", [&] { state.refreshEnvironment(); }},
      {"gain", edit([](DeviceGraph& graph) { graph.sources[0].gain = 0.5F; })},
      {"block size", edit([](DeviceGraph& graph) { graph.latencyFrames = 512; })},
      {"source removed",
       edit([](DeviceGraph& graph) { std::swap(graph.sources[1], graph.sources.back()), graph.sources.pop_back(); })},
      {"monitor off", edit([](DeviceGraph& graph) { graph.monitors[0].enabled = false; })},
      {"device off", edit([](DeviceGraph& graph) { graph.enabled = false; })},
      {"device on", edit([](DeviceGraph& graph) { graph.enabled = true; })},
      {"monitor on", edit([](DeviceGraph& graph) { graph.monitors[0].enabled = true; })},
      {"device renamed", [&] { state.renameVirtualDevice(device, QStringLiteral("Renamed")); }},
      {"device created", [&] { state.createVirtualDevice(); }},
      {"device widened", [&] { state.setChannels(device, noisyChannels + 2); }},
      {"reload", [&] { state.reload(); }},
  };
  const DeviceGraph graphBefore = state.graph(uid);
  const auto nodesBefore = session.programNodes().size();

  // Where the machine is not the test's own, a wait for the processor must not be taken for one for the server.
  const auto bound = isLongRun(hangsVariable) ? 1000ms : 5000ms;
  const int rounds = repetitions(hangsVariable, 1);
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    {
      const HeldProcess server(session.server().processId("pipewire"));
      EventLoopWatch watch;
      for (const auto& [name, action] : actions) {
        watch.forget();
        action();
        // What it leaves to the event loop belongs to it.
        const auto ended = std::chrono::steady_clock::now();
        EXPECT_TRUE(eventually([ended] { return std::chrono::steady_clock::now() - ended > 20ms; }));
        EXPECT_LT(watch.longest(), bound) << name;
        if (isLongRun(hangsVariable)) std::cout << name << ": " << watch.longest().count() << " ms" << std::endl;
      }
      watch.forget();
      const auto tick = state.engineStateTick();
      EXPECT_TRUE(eventually([&] { return state.engineStateTick() >= tick + 2; }));
      EXPECT_LT(watch.longest(), bound) << "periodic refreshes";
    }
    state.updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) { graph = graphBefore; });
    EXPECT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels()) << session.report();
    // What the commands asked for happened when the server went on; the program shows it.
    const DriverConfig driver(program.hardware);
    EXPECT_TRUE(eventually([&] { return driver.readDevices() == state.virtualDevices(); }))
        << state.virtualDevices().size() << " devices shown";
    // A device without wires has the capture of its own input alone.
    EXPECT_TRUE(eventually([&] {
      return session.programNodes().size() == nodesBefore + state.virtualDevices().size() - 1;
    })) << session.programNodes().size()
        << " nodes for " << state.virtualDevices().size() << " devices";
  }
  state.shutdown();
}

TEST(HungServer, doesNotKeepTheProgramFromEnding) {
  RoutingSession session(noisyChannels, noisyGraph());
  NoisyDesktop desktop(session, waitForProgram);
  ASSERT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels()) << session.report();
  const HeldProcess server(session.server().processId("pipewire"));
  EXPECT_EQ(session.program().stop(SIGTERM), 0) << session.report();
}

TEST(HungServer, isWaitedForByAProgramThatStarts) {
  RoutingSession session(noisyChannels, noisyGraph(), RoutingSession::Program::absent);
  NoisyDesktop desktop(session, waitForProgram);
  std::unique_ptr<ChildProcess> program;
  {
    const HeldProcess server(session.server().processId("pipewire"));
    program = session.startAgain();
    // As a program that has come up, it takes the file's lock and shows its window.
    ASSERT_TRUE(
        waitUntil([&] { return std::filesystem::exists(session.file("programdata/Brindlemux/graphs.json.lock")); }));
  }
  EXPECT_TRUE(desktop.waitForWholeSound()) << testing::PrintToString(desktop.levels()) << session.report();
  EXPECT_EQ(program->stop(SIGTERM), 0) << program->error();
}

}  // namespace
}  // namespace brindlemux::test
