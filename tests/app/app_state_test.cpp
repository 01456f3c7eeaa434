#include "app/controller/app_state.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/signal_log.h"
#include "app/simulated_program.h"

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using test::device;
using test::output;
using test::SignalLog;
using test::SimulatedProgram;
using test::unreadable;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::SizeIs;
using testing::UnorderedElementsAre;

const std::string uidA = device("A").uid;
const std::string uidB = device("B").uid;
const std::string uidC = device("C").uid;

TEST(AppState, startsWithoutDriver) {
  SimulatedProgram program;
  const AppState& state = program.start();
  EXPECT_FALSE(state.driverInstalled());
  EXPECT_THAT(state.virtualDevices(), IsEmpty());
  EXPECT_EQ(state.selectedDeviceUID(), std::nullopt);
  EXPECT_EQ(state.errorMessage(), std::nullopt);
  EXPECT_EQ(state.settingsSheetUID(), std::nullopt);
  EXPECT_EQ(state.engineStateTick(), 0);
  EXPECT_THAT(state.graphs(), IsEmpty());
  EXPECT_THAT(state.processes(), IsEmpty());
  EXPECT_THAT(state.audioDevices(), IsEmpty());
  EXPECT_THAT(state.meters(), IsEmpty());
  EXPECT_EQ(AppStateProbe::engineCount(state), 0U);
  program.advance(10s);
  EXPECT_EQ(state.engineStateTick(), 0);
  EXPECT_THAT(state.processes(), IsEmpty());
}

TEST(AppState, findsDriverInstalledLaterWithinTwoSeconds) {
  SimulatedProgram program;
  const AppState& state = program.start();
  // Without devices the driver announces nothing, so that only the timer can find it.
  program.hardware.installDriver();
  program.advance(1999ms);
  EXPECT_FALSE(state.driverInstalled());
  program.advance(1ms);
  EXPECT_TRUE(state.driverInstalled());
}

TEST(AppState, startsEnginesOfDriverInstalledLater) {
  SimulatedProgram program;
  const AppState& state = program.start();
  program.hardware.installDriver({device("A"), device("B")});
  program.advance(2s);
  EXPECT_TRUE(state.driverInstalled());
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("A"), device("B")));
  EXPECT_EQ(state.selectedDeviceUID(), uidA);
  EXPECT_EQ(state.errorMessage(), std::nullopt);
  // The capture of each device's own input.
  EXPECT_THAT(program.hardware.liveResources(),
              ElementsAre("proc1 on " + uidA + " running", "proc2 on " + uidB + " running"));
}

TEST(AppState, loadsGraphsAndGivesOtherDevicesDefaultOnes) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B"), device("C")});
  const std::string file = R"({")" + uidB + R"(":{"deviceUID":")" + uidB + R"(","masterGain":0.5,"latencyFrames":64}})";
  program.writeGraphsFile(file);
  const AppState& state = program.start();

  ASSERT_THAT(state.graphs(), ElementsAre(Key(uidA), Key(uidB), Key(uidC)));
  for (const std::string& uid : {uidA, uidC}) {
    const DeviceGraph& graph = state.graphs().at(uid);
    EXPECT_EQ(graph.deviceUID, uid);
    EXPECT_TRUE(graph.enabled);
    EXPECT_EQ(graph.masterGain, 1.0F);
    EXPECT_EQ(graph.latencyFrames, 256);
    EXPECT_THAT(graph.sources, IsEmpty());
  }
  EXPECT_EQ(state.graphs().at(uidB).masterGain, 0.5F);
  EXPECT_EQ(state.graphs().at(uidB).latencyFrames, 64);
  EXPECT_EQ(AppStateProbe::engineCount(state), 3U);
  program.advance(10s);
  EXPECT_EQ(program.graphsFile(), file);
}

TEST(AppState, keepsGraphsOfDevicesThatDoNotExist) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  program.writeGraphsFile(R"({")" + uidC + R"(":{"deviceUID":")" + uidC + R"("}})");
  const AppState& state = program.start();
  EXPECT_THAT(state.graphs(), ElementsAre(Key(uidA), Key(uidC)));
  EXPECT_EQ(AppStateProbe::engineCount(state), 1U);
}

TEST(AppState, handsEveryEngineItsGraph) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  program.writeGraphsFile(R"({")" + uidA + R"(":{"deviceUID":")" + uidA + R"(","enabled":false}})");
  const AppState& state = program.start();
  EXPECT_EQ(AppStateProbe::engineCount(state), 2U);
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre("proc1 on " + uidB + " running"));
}

TEST(AppState, listsDevicesAndProcesses) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  program.hardware.addDevice(output("speakers", "Speakers"));
  SimulatedProcess player;
  player.pid = 77;
  player.bundleID = "org.example.Player";
  program.hardware.addProcess(player);
  program.applications.set(77, "Player");
  const AppState& state = program.start();
  ASSERT_THAT(state.audioDevices(), SizeIs(2));
  EXPECT_EQ(state.audioDevices()[1].uid, "speakers");
  ASSERT_THAT(state.processes(), SizeIs(1));
  EXPECT_EQ(state.processes()[0].name, "Player");
}

TEST(AppState, selectionMovesToFirstDeviceWhenItsDeviceGoes) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  state.setSelectedDeviceUID(uidB);
  state.reload();
  EXPECT_EQ(state.selectedDeviceUID(), uidB);
  program.publish({device("C"), device("A")});
  state.reload();
  EXPECT_EQ(state.selectedDeviceUID(), uidC);
  program.publish({});
  state.reload();
  EXPECT_EQ(state.selectedDeviceUID(), std::nullopt);
}

TEST(AppState, devicesKeepDriversOrder) {
  SimulatedProgram program;
  program.hardware.installDriver({device("C", 4), device("A"), device("B", 16)});
  const AppState& state = program.start();
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("C", 4), device("A"), device("B", 16)));
  EXPECT_THAT(state.virtualDeviceUIDs(), UnorderedElementsAre(uidA, uidB, uidC));
}

TEST(AppState, unreadableDeviceListKeepsPreviousOne) {
  SimulatedProgram program;
  const AudioObjectID driver = program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  program.hardware.setAnswer(driver, driverPropertyAddress, unreadable());
  state.reload();
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("A")));
  EXPECT_EQ(state.errorMessage(), std::nullopt);
}

TEST(AppState, refreshDoesNotReadDriversList) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  program.publish({device("A"), device("B")});
  program.advance(2s);
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("A")));
  state.reload();
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("A"), device("B")));
}

TEST(AppState, reloadWithoutDriverOnlyEmptiesDevices) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  const auto before = program.hardware.liveResources();
  const auto tick = state.engineStateTick();
  program.hardware.setAnswer(kAudioObjectSystemObject, {kAudioHardwarePropertyTranslateBundleIDToPlugIn}, unreadable());
  state.reload();
  EXPECT_FALSE(state.driverInstalled());
  EXPECT_THAT(state.virtualDevices(), IsEmpty());
  EXPECT_EQ(state.selectedDeviceUID(), uidA);
  EXPECT_THAT(state.graphs(), ElementsAre(Key(uidA)));
  EXPECT_EQ(state.engineStateTick(), tick);
  EXPECT_EQ(program.hardware.liveResources(), before);
}

TEST(AppState, enginesRunOnWhileDriverIsAway) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  // The driver's object is gone for a while, its devices are not.
  const AudioObjectPropertyAddress lookUp{kAudioHardwarePropertyTranslateBundleIDToPlugIn};
  program.hardware.setAnswer(kAudioObjectSystemObject, lookUp, unreadable());
  program.advance(4s);
  EXPECT_FALSE(state.driverInstalled());
  EXPECT_THAT(state.virtualDevices(), IsEmpty());
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre("proc1 on " + uidA + " running"));
  EXPECT_THAT(state.meters(), ElementsAre(Key(uidA)));
  program.hardware.clearAnswer(kAudioObjectSystemObject, lookUp);
  program.advance(2s);
  EXPECT_TRUE(state.driverInstalled());
  EXPECT_THAT(state.virtualDevices(), ElementsAre(device("A")));
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre("proc1 on " + uidA + " running"));
}

TEST(AppState, removedDeviceLosesItsEngineAndKeepsItsGraph) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  program.publish({device("B")});
  state.reload();
  EXPECT_EQ(AppStateProbe::engineCount(state), 1U);
  EXPECT_THAT(state.graphs(), ElementsAre(Key(uidA), Key(uidB)));
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre("proc2 on " + uidB + " running"));
}

TEST(AppState, assignmentsAreAnnouncedInOrder) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  SignalLog log(state);
  state.reload();
  EXPECT_THAT(log.names,
              ElementsAre("driverInstalled", "virtualDevices", "processes", "audioDevices", "engineStateTick"));
  log.names.clear();
  program.publish({device("B"), device("C")});
  state.reload();
  EXPECT_THAT(log.names, ElementsAre("driverInstalled", "virtualDevices", "selectedDeviceUID", "graphs", "graphs",
                                     "processes", "audioDevices", "engineStateTick"));
}

TEST(AppState, driverThatGoesAndComesIsAnnouncedInOrder) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  state.setSelectedDeviceUID(uidA);
  SignalLog log(state);
  const AudioObjectPropertyAddress lookUp{kAudioHardwarePropertyTranslateBundleIDToPlugIn};
  program.hardware.setAnswer(kAudioObjectSystemObject, lookUp, unreadable());
  state.refreshEnvironment();
  // Once by the refresh, once by the reload that it calls.
  EXPECT_THAT(log.take(), ElementsAre("driverInstalled", "driverInstalled", "virtualDevices"));
  state.refreshEnvironment();
  EXPECT_THAT(log.take(), IsEmpty());
  program.hardware.clearAnswer(kAudioObjectSystemObject, lookUp);
  state.refreshEnvironment();
  EXPECT_THAT(log.take(), ElementsAre("driverInstalled", "driverInstalled", "virtualDevices", "processes",
                                      "audioDevices", "engineStateTick"));
}

TEST(AppState, refreshComesBeforeMetersThatFallDueTogether) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  program.advance(5999ms);
  SignalLog log(state);
  // 3 times 2.0 s and 50 times 0.12 s.
  program.advance(1ms);
  EXPECT_THAT(log.names, ElementsAre("processes", "audioDevices", "engineStateTick", "meters"));
}

TEST(AppState, refreshesEveryTwoSeconds) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  const AppState& state = program.start();
  EXPECT_EQ(state.engineStateTick(), 1);
  program.advance(1999ms);
  EXPECT_EQ(state.engineStateTick(), 1);
  program.advance(1ms);
  EXPECT_EQ(state.engineStateTick(), 2);
  program.advance(2s);
  EXPECT_EQ(state.engineStateTick(), 3);
}

TEST(AppState, burstOfDeviceChangesCausesOneRefresh) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  const AppState& state = program.start();
  // Ten announcements at 100, 120, ... 280 ms: the refresh is due at 580 ms.
  program.advance(100ms);
  const AudioObjectID speakers = program.hardware.addDevice(output("speakers", "Speakers"));
  for (int announcement = 1; announcement < 10; ++announcement) {
    program.advance(20ms);
    program.hardware.device(speakers).name = "Speakers " + std::to_string(announcement);
    program.announceDevices();
  }
  program.advance(299ms);
  EXPECT_EQ(state.engineStateTick(), 1);
  EXPECT_THAT(state.audioDevices(), SizeIs(1));
  program.advance(1ms);
  EXPECT_EQ(state.engineStateTick(), 2);
  EXPECT_THAT(state.audioDevices(), SizeIs(2));
  // Nothing more until the timer's own refresh at 2000 ms.
  program.advance(1419ms);
  EXPECT_EQ(state.engineStateTick(), 2);
}

TEST(AppState, refusedListenerLeavesTheTimer) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  program.hardware.journal().failEvery("addPropertyListener", kAudioHardwareUnspecifiedError);
  const AppState& state = program.start();
  program.hardware.addDevice(output("speakers", "Speakers"));
  program.advance(1999ms);
  EXPECT_THAT(state.audioDevices(), SizeIs(1));
  program.advance(1ms);
  EXPECT_THAT(state.audioDevices(), SizeIs(2));
}

TEST(AppState, listensToTheSystemsDeviceListOnce) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  state.reload();
  program.advance(10s);
  EXPECT_THAT(program.hardware.journal().lines(),
              testing::Contains(HasSubstr("addPropertyListener system dev#")).Times(1));
}

TEST(AppState, metersArePublishedOnceATick) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B", 4)});
  AppState& state = program.start();
  EXPECT_THAT(state.meters(), IsEmpty());
  SignalLog log(state);
  program.advance(119ms);
  EXPECT_THAT(log.names, IsEmpty());
  program.advance(1ms);
  EXPECT_THAT(log.names, ElementsAre("meters"));
  EXPECT_THAT(state.meters(), ElementsAre(Key(uidA), Key(uidB)));
  // At 240, 360, ... 1200 ms.
  program.advance(1080ms);
  EXPECT_THAT(log.names, SizeIs(10));
}

TEST(AppState, deviceWithoutEngineHasNoMeters) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  program.advance(120ms);
  program.publish({device("B")});
  state.reload();
  program.advance(120ms);
  EXPECT_THAT(state.meters(), ElementsAre(Key(uidB)));
}

TEST(AppState, restartBuildsEveryEngineAnew) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  AppStateProbe::restartAllEngines(state);
  EXPECT_EQ(AppStateProbe::engineCount(state), 2U);
  EXPECT_EQ(state.engineStateTick(), 2);
  EXPECT_THAT(program.hardware.liveResources(),
              ElementsAre("proc3 on " + uidA + " running", "proc4 on " + uidB + " running"));
}

TEST(AppState, shutdownStopsEverything) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A"), device("B")});
  AppState& state = program.start();
  program.announceDevices();
  program.advance(120ms);
  state.shutdown();
  EXPECT_EQ(AppStateProbe::engineCount(state), 0U);
  EXPECT_THAT(program.hardware.liveResources(), IsEmpty());
  EXPECT_EQ(program.scheduler.scheduledCount(), 0U);
  state.shutdown();
  EXPECT_THAT(program.hardware.liveResources(), IsEmpty());
}

TEST(AppState, nothingHappensAfterShutdown) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  AppState& state = program.start();
  state.shutdown();
  program.hardware.journal().keepReads({kAudioHardwarePropertyTranslateBundleIDToPlugIn,
                                        kAudioHardwarePropertyProcessObjectList, kAudioHardwarePropertyDevices});
  program.hardware.journal().take();
  SignalLog log(state);
  program.announceDevices();
  program.advance(10s);
  state.refreshEnvironment();
  EXPECT_THAT(program.hardware.journal().lines(), IsEmpty());
  EXPECT_THAT(log.names, IsEmpty());
  EXPECT_EQ(AppStateProbe::engineCount(state), 0U);
}

TEST(AppState, deviceChangeAfterDestructionIsHarmless) {
  SimulatedProgram program;
  program.hardware.installDriver({device("A")});
  program.start();
  program.announceDevices();
  program.state.reset();
  program.hardware.journal().take();
  program.announceDevices();
  program.advance(10s);
  EXPECT_THAT(program.hardware.journal().lines(), IsEmpty());
  EXPECT_EQ(program.scheduler.scheduledCount(), 0U);
}

TEST(AppState, viewsSetSelectionAndSettings) {
  SimulatedProgram program;
  AppState& state = program.start();
  SignalLog log(state);
  EXPECT_TRUE(state.setProperty("selectedDeviceUID", "x"));
  EXPECT_TRUE(state.setProperty("settingsSheetUID", "y"));
  EXPECT_EQ(state.selectedDeviceUID(), "x");
  EXPECT_EQ(state.settingsSheetUID(), "y");
  EXPECT_TRUE(state.setProperty("settingsSheetUID", ""));
  EXPECT_EQ(state.settingsSheetUID(), std::nullopt);
  EXPECT_THAT(log.names, ElementsAre("selectedDeviceUID", "settingsSheetUID", "settingsSheetUID"));
}

}  // namespace
}  // namespace brindlemux
