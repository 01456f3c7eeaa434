#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "app/controller/app_state.h"
#include "app/started_program.h"

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using test::device;
using test::Everything;
using test::monitor;
using test::SimulatedProgram;
using test::source;
using test::Started;
using test::text;
using test::uidA;
using test::uidB;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(SetChannels, countIsHeldWithinItsBounds) {
  Started program({device("A", 4)});
  for (const auto& [asked, stored] : {std::pair{1, 2},
                                      {40, 16},
                                      {-5, 2},
                                      {8, 8},
                                      {std::numeric_limits<int>::max(), 16},
                                      {std::numeric_limits<int>::min(), 2}}) {
    program.state->setChannels(text(uidA), asked);
    EXPECT_EQ(program.state->virtualDevices()[0].channels, stored) << asked;
  }
}

TEST(SetChannels, sameCountAndUnknownDeviceAreIgnored) {
  Started program({device("A", 16), device("B", 2)});
  const Everything before(program);
  program.state->setChannels(text(uidA), 16);
  // The bound that both are held to already.
  program.state->setChannels(text(uidA), 18);
  program.state->setChannels(text(uidB), 0);
  program.state->setChannels(QStringLiteral("unknown"), 4);
  EXPECT_EQ(program.driverWrites(), 0);
  EXPECT_EQ(Everything(program), before);
  EXPECT_THAT(program.signals->take(), IsEmpty());
  program.advance(1999ms);
  EXPECT_EQ(program.state->engineStateTick(), before.tick);
}

TEST(SetChannels, narrowingDropsTheWiresOfChannelsThatAreGone) {
  Started program({device("A", 8)});
  program.wireEveryOutput(uidA, 8);
  const DeviceGraph before = program.state->graphs().at(uidA);
  program.state->setChannels(text(uidA), 4);
  const DeviceGraph after = program.state->graphs().at(uidA);
  // In the order in which they stood: from the last output to the first.
  EXPECT_THAT(after.wires, ElementsAre(SourceWire{source, 0, 3}, SourceWire{source, 0, 2}, SourceWire{source, 0, 1},
                                       SourceWire{source, 0, 0}));
  EXPECT_THAT(after.monitorWires, ElementsAre(MonitorWire{3, monitor, 0}, MonitorWire{2, monitor, 0},
                                              MonitorWire{1, monitor, 0}, MonitorWire{0, monitor, 0}));
  EXPECT_THAT(after.outputGains, SizeIs(8));
  EXPECT_EQ(after.outputGains, before.outputGains);
  EXPECT_EQ(after.sources, before.sources);
  EXPECT_EQ(after.monitors, before.monitors);
  EXPECT_EQ(program.savedGraphs().at(uidA), after);
  EXPECT_EQ(program.state->virtualDevices()[0].channels, 4);
}

TEST(SetChannels, wideningRestoresNoWiresButTheGains) {
  Started program({device("A", 8)});
  program.wireEveryOutput(uidA, 8);
  const std::vector<float> gains = program.state->graphs().at(uidA).outputGains;
  program.state->setChannels(text(uidA), 4);
  program.state->setChannels(text(uidA), 8);
  EXPECT_THAT(program.state->graphs().at(uidA).wires, SizeIs(4));
  EXPECT_THAT(program.state->graphs().at(uidA).monitorWires, SizeIs(4));
  EXPECT_EQ(program.state->graphs().at(uidA).outputGains, gains);
  EXPECT_EQ(program.savedGraphs().at(uidA), program.state->graphs().at(uidA));
}

TEST(SetChannels, engineIsStoppedBeforeTheGraphChangesAndMadeAnewAfterTheSave) {
  Started program({device("A", 4)});
  std::vector<std::string> seen;
  QObject receiver;
  const auto note = [&](const std::string& what) {
    const DeviceEngine* engine = AppStateProbe::engine(*program.state, uidA);
    seen.push_back(what + (engine ? ", engine" : ", no engine") +
                   (program.graphsFile().empty() ? ", unsaved" : ", saved"));
  };
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, [&] { note("graphs"); });
  QObject::connect(program.state.get(), &AppState::driverInstalledChanged, &receiver, [&] { note("reload"); });
  QObject::connect(program.state.get(), &AppState::engineStateTickChanged, &receiver, [&] { note("tick"); });
  program.state->setChannels(text(uidA), 6);
  EXPECT_THAT(seen, ElementsAre("graphs, no engine, unsaved", "reload, no engine, saved", "tick, engine, saved"));
  EXPECT_THAT(program.signals->take(), ElementsAre("graphs", "driverInstalled", "virtualDevices", "processes",
                                                   "audioDevices", "engineStateTick"));
}

TEST(SetChannels, deviceWithoutGraphGetsTheDefaultOne) {
  Started program({device("A", 4)});
  program.state->setChannels(text(uidA), 2);
  EXPECT_EQ(program.savedGraphs().at(uidA), DeviceGraph(uidA));
}

TEST(SetChannels, refreshesOnceMoreAfterThreeTenthsOfASecond) {
  Started program({device("A", 4)});
  program.advance(500ms);
  program.state->setChannels(text(uidA), 6);
  const auto tick = program.state->engineStateTick();
  program.advance(299ms);
  EXPECT_EQ(program.state->engineStateTick(), tick);
  program.advance(1ms);
  // The command's, and that of the devices that went and came, which was announced at the same moment.
  EXPECT_EQ(program.state->engineStateTick(), tick + 2);
}

TEST(SetChannels, everyChangeHasItsOwnRefresh) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A", 4)});
  // Without the listener only the commands and the timer refresh.
  program.hardware.journal().failEvery("addPropertyListener", kAudioHardwareUnspecifiedError);
  AppState& state = program.start();
  state.setChannels(text(uidA), 6);
  program.advance(200ms);
  state.setChannels(text(uidA), 8);
  const auto tick = state.engineStateTick();
  program.advance(99ms);
  EXPECT_EQ(state.engineStateTick(), tick);
  program.advance(1ms);
  EXPECT_EQ(state.engineStateTick(), tick + 1);
  program.advance(199ms);
  EXPECT_EQ(state.engineStateTick(), tick + 1);
  program.advance(1ms);
  EXPECT_EQ(state.engineStateTick(), tick + 2);
  program.advance(1499ms);
  EXPECT_EQ(state.engineStateTick(), tick + 2);
}

TEST(SetChannels, noRefreshAfterShutdownOrDestruction) {
  Started program({device("A", 4)});
  program.state->setChannels(text(uidA), 6);
  program.state->shutdown();
  EXPECT_EQ(program.scheduler.scheduledCount(), 0U);
  program.signals->take();
  program.advance(10s);
  EXPECT_THAT(program.signals->take(), IsEmpty());

  Started other({device("A", 4)});
  other.state->setChannels(text(uidA), 6);
  other.state.reset();
  other.advance(10s);
  EXPECT_EQ(other.scheduler.scheduledCount(), 0U);
}

TEST(SetChannels, refusedWriteChangesNothing) {
  Started program({device("A", 8)});
  program.wireEveryOutput(uidA, 8);
  const Everything before(program);
  program.refuseWrites();
  program.state->setChannels(text(uidA), 4);
  EXPECT_EQ(program.state->errorMessage(), "Failed to change channel count");
  EXPECT_EQ(Everything(program), before);
  EXPECT_THAT(program.signals->take(), ElementsAre("errorMessage"));
  program.advance(1999ms);
  EXPECT_EQ(program.state->engineStateTick(), before.tick);
}

}  // namespace
}  // namespace brindlemux
