#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

#include "engine/device_engine.h"
#include "engine/device_engine_fixture.h"

namespace brindlemux {
namespace {

using test::DeviceEngineTest;
using test::inputDevice;
using test::outputDevice;
using test::playingProcess;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// Sources.

TEST_F(DeviceEngineTest, disabledSourceKeepsCapturing) {
  const UUID mic = addMic(1);
  graph.sources.front().enabled = false;
  reconcile();
  hardware.advance(480);
  EXPECT_EQ(engine.meterSnapshot().sourcePeaks.at(mic), (std::vector<float>{0.25F, 0.25F}));
  EXPECT_THAT(engine.meterSnapshot().outputPeaks, Each(0.0F));
}

TEST_F(DeviceEngineTest, removedSourceIsStopped) {
  addMic(1);
  addMic(2);
  reconcile();
  graph.sources.erase(graph.sources.begin());
  EXPECT_THAT(reconcile(), ElementsAre("stopDevice Microphone proc1", "destroyIOProc Microphone proc1"));
}

TEST_F(DeviceEngineTest, missingInputDeviceIsNoErrorAndStartsWhenItComes) {
  const UUID mic = addMic(1, "Headset");
  reconcile();
  EXPECT_EQ(engine.lastError, std::nullopt);
  EXPECT_FALSE(engine.meterSnapshot().sourcePeaks.contains(mic));
  hardware.addDevice(inputDevice("Headset"));
  EXPECT_THAT(reconcile(), Contains("startDevice Headset proc2"));
  EXPECT_TRUE(engine.meterSnapshot().sourcePeaks.contains(mic));
}

TEST_F(DeviceEngineTest, inputDeviceThatGoesIsDroppedAndReplacedWhenItReturns) {
  addMic(1);
  reconcile();
  hardware.removeDevice(microphone);
  EXPECT_THAT(reconcile(),
              ElementsAre(HasSubstr("stopDevice Microphone proc1"), HasSubstr("destroyIOProc Microphone proc1")));
  hardware.addDevice(inputDevice("Microphone"));
  EXPECT_THAT(reconcile(), Contains("startDevice Microphone proc3"));
}

TEST_F(DeviceEngineTest, inputDeviceWithANewIDIsReplacedAtOnce) {
  addMic(1);
  reconcile();
  hardware.removeDevice(microphone);
  hardware.addDevice(inputDevice("Microphone"));
  EXPECT_THAT(reconcile(), Contains("startDevice Microphone proc3"));
}

TEST_F(DeviceEngineTest, playingProcessOfAnApplicationIsPreferred) {
  hardware.process(player).isPlaying = false;
  applications.set(100, "Player");
  const AudioObjectID playing = hardware.addProcess(playingProcess(101, "com.example.Player"));
  addApp(1);
  EXPECT_THAT(reconcile(), Contains(HasSubstr("createProcessTap \"Brindlemux Tap\" of " + std::to_string(playing))));
  // The choice stays while that process is there, whichever plays.
  hardware.process(playing).isPlaying = false;
  hardware.process(player).isPlaying = true;
  applications.set(101, "Player");
  EXPECT_THAT(reconcile(), IsEmpty());
}

TEST_F(DeviceEngineTest, playingProcessIsPreferredWhereverItStandsInTheList) {
  const AudioObjectID playing = hardware.addProcess(playingProcess(101, "com.example.Player"));
  addApp(1);
  engine.setGraph(graph);
  const std::vector<AudioProcessInfo> processes = {{player, 100, "Player", "com.example.Player", false},
                                                   {playing, 101, "Player", "com.example.Player", true}};
  engine.reconcile(2, processes, {});
  EXPECT_THAT(takeJournal(), Contains(HasSubstr("createProcessTap \"Brindlemux Tap\" of " + std::to_string(playing))));
}

TEST_F(DeviceEngineTest, firstProcessIsTakenWhenNonePlays) {
  hardware.process(player).isPlaying = false;
  SimulatedProcess other = playingProcess(101, "com.example.Player");
  other.isPlaying = false;
  hardware.addProcess(other);
  applications.set(100, "Player");
  applications.set(101, "Player");
  addApp(1);
  EXPECT_THAT(reconcile(), Contains(HasSubstr("createProcessTap \"Brindlemux Tap\" of " + std::to_string(player))));
}

TEST_F(DeviceEngineTest, applicationThatQuitsLosesItsTapUntilItIsListedAgain) {
  const UUID app = addApp(1);
  reconcile();
  hardware.removeProcess(player);
  EXPECT_THAT(reconcile(), ElementsAre("stopDevice aggregate1 proc1", "destroyIOProc aggregate1 proc1",
                                       "destroyAggregateDevice aggregate1", "destroyProcessTap tap1"));
  EXPECT_THAT(reconcile(), IsEmpty());
  EXPECT_FALSE(engine.meterSnapshot().sourcePeaks.contains(app));
  hardware.addProcess(playingProcess(200, "com.example.Player"));
  EXPECT_THAT(reconcile(), Contains("startDevice aggregate2 proc3"));
  EXPECT_EQ(engine.lastError, std::nullopt);
}

TEST_F(DeviceEngineTest, tapMovesToAnotherProcessOfTheApplication) {
  addApp(1);
  reconcile();
  hardware.removeProcess(player);
  const AudioObjectID other = hardware.addProcess(playingProcess(101, "com.example.Player"));
  const auto lines = reconcile();
  EXPECT_EQ(lines.front(), "stopDevice aggregate1 proc1");
  EXPECT_THAT(lines, Contains(HasSubstr("createProcessTap \"Brindlemux Tap\" of " + std::to_string(other))));
}

TEST_F(DeviceEngineTest, tapWhoseClockIsGoneIsReplaced) {
  const AudioObjectID headphones = hardware.addDevice(outputDevice("Headphones"));
  hardware.setDefaultOutputDevice(headphones);
  addApp(1);
  addSource(2, SystemAudioSource{});
  reconcile();
  hardware.removeDevice(headphones);
  const auto lines = reconcile();
  EXPECT_THAT(lines, Contains("destroyProcessTap tap1"));
  EXPECT_THAT(lines, Contains("destroyProcessTap tap2"));
  EXPECT_THAT(lines, Contains(HasSubstr("createAggregateDevice {master: \"Speakers\"")).Times(2));
  EXPECT_THAT(hardware.liveResources(), SizeIs(8));  // 2 taps, 2 aggregates, 3 procedures, 1 unit
}

TEST_F(DeviceEngineTest, tapWithoutAnyClockWaitsForOne) {
  addApp(1);
  reconcile();
  hardware.removeDevice(speakers);
  reconcile();
  EXPECT_EQ(engine.lastError, "No hardware output device found for tap clock");
  EXPECT_THAT(hardware.liveResources(), Not(Contains(HasSubstr("tap"))));
  engine.lastError = std::nullopt;
  speakers = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_THAT(reconcile(), Contains(HasSubstr("createAggregateDevice {master: \"Speakers\"")));
  EXPECT_EQ(engine.lastError, std::nullopt);
}

TEST_F(DeviceEngineTest, tapWhoseClockAndProcessAreGoneIsNotReplaced) {
  addApp(1);
  reconcile();
  hardware.removeDevice(speakers);
  hardware.removeProcess(player);
  EXPECT_THAT(reconcile(), ElementsAre("stopDevice aggregate1 proc1", "destroyIOProc aggregate1 proc1",
                                       "destroyAggregateDevice aggregate1", "destroyProcessTap tap1"));
  EXPECT_EQ(engine.lastError, std::nullopt);
}

TEST_F(DeviceEngineTest, clockThatReturnsWithANewIDKeepsTheTap) {
  addApp(1);
  reconcile();
  hardware.removeDevice(speakers);
  speakers = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_THAT(reconcile(), IsEmpty());
}

TEST_F(DeviceEngineTest, systemAudioTapStays) {
  addSource(1, SystemAudioSource{});
  EXPECT_THAT(reconcile(), Contains(HasSubstr("createProcessTap \"Brindlemux Tap\" of all except")));
  hardware.removeProcess(player);
  EXPECT_THAT(reconcile(), IsEmpty());
}

// Monitors.

TEST_F(DeviceEngineTest, monitorHasItsDevicesChannelsFromOneToSixteen) {
  hardware.addDevice(outputDevice("Large", 32));
  hardware.addDevice(inputDevice("No output"));
  addMonitor(1, "Large");
  addMonitor(2, "No output");
  const auto lines = reconcile();
  EXPECT_THAT(lines, Contains(HasSubstr("unit1 StreamFormat input 0 = lpcm flags 9, 48000 Hz, 16 channels")));
  EXPECT_THAT(lines, Contains(HasSubstr("unit2 StreamFormat input 0 = lpcm flags 9, 48000 Hz, 1 channels")));
}

TEST_F(DeviceEngineTest, monitorWhoseDeviceGoesLosesItsOutputUntilItReturns) {
  addMonitor(1);
  reconcile();
  hardware.removeDevice(speakers);
  EXPECT_THAT(reconcile(),
              ElementsAre("stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1"));
  EXPECT_THAT(reconcile(), IsEmpty());
  EXPECT_EQ(engine.lastError, std::nullopt);
  speakers = hardware.addDevice(outputDevice("Speakers"));
  EXPECT_THAT(reconcile(), Contains("startOutputUnit unit2"));
}

TEST_F(DeviceEngineTest, monitorWhoseDeviceHasANewIDIsReplacedAtOnce) {
  addMonitor(1);
  reconcile();
  hardware.removeDevice(speakers);
  speakers = hardware.addDevice(outputDevice("Speakers"));
  const auto lines = reconcile();
  EXPECT_EQ(lines.front(), "stopOutputUnit unit1");
  EXPECT_THAT(lines, Contains("startOutputUnit unit2"));
}

TEST_F(DeviceEngineTest, monitorWhoseDeviceChangesItsChannelsIsReplaced) {
  addMonitor(1);
  reconcile();
  hardware.device(speakers).outputBuffers = {4};
  const auto lines = reconcile();
  EXPECT_EQ(lines.front(), "stopOutputUnit unit1");
  EXPECT_THAT(lines, Contains(HasSubstr("unit2 StreamFormat input 0 = lpcm flags 9, 48000 Hz, 4 channels")));
}

TEST_F(DeviceEngineTest, disabledOrRemovedMonitorIsStopped) {
  addMonitor(1);
  addMonitor(2);
  reconcile();
  graph.monitors[0].enabled = false;
  EXPECT_THAT(reconcile(),
              ElementsAre("stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1"));
  graph.monitors.clear();
  EXPECT_THAT(reconcile(),
              ElementsAre("stopOutputUnit unit2", "uninitializeAudioUnit unit2", "disposeAudioUnit unit2"));
}

}  // namespace
}  // namespace brindlemux
