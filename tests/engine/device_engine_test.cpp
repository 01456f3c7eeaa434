#include "engine/device_engine.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#include "engine/device_engine_fixture.h"

namespace brindlemux {
namespace {

using test::constantSignal;
using test::DeviceEngineTest;
using test::inputDevice;
using test::loopbackDevice;
using test::outputDevice;
using test::playingProcess;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::UnorderedElementsAre;

// Starting and stopping.

TEST_F(DeviceEngineTest, startsNothingByItself) {
  EXPECT_THAT(takeJournal(), IsEmpty());
  EXPECT_EQ(engine.deviceUID(), "BrindlemuxAudio_UID_A");
  EXPECT_EQ(engine.lastError, std::nullopt);
  EXPECT_TRUE(engine.meterSnapshot().sourcePeaks.empty());
}

TEST_F(DeviceEngineTest, startsEverythingInAFixedOrderAndStopsItInAnother) {
  addMic(1);
  addApp(2);
  addMonitor(3);
  EXPECT_THAT(
      reconcile(),
      ElementsAre("setPropertyData Microphone fsiz = 256",
                  "createIOProc Microphone on com.brindlemux.input-io -> proc1", "startDevice Microphone proc1",
                  HasSubstr("createProcessTap"), HasSubstr("createAggregateDevice"),
                  "setPropertyData aggregate1 fsiz = 256", "createIOProc aggregate1 on com.brindlemux.tap-io -> proc2",
                  "startDevice aggregate1 proc2", "setPropertyData BrindlemuxAudio_UID_A fsiz = 256",
                  "createAudioUnit 1 -> unit1", HasSubstr("unit1 EnableIO input"), HasSubstr("unit1 EnableIO output"),
                  "setAudioUnitProperty unit1 CurrentDevice global 0 = BrindlemuxAudio_UID_A",
                  HasSubstr("unit1 StreamFormat"), HasSubstr("unit1 SetRenderCallback"), "initializeAudioUnit unit1",
                  "startOutputUnit unit1", "setPropertyData BrindlemuxAudio_UID_A fsiz = 256",
                  "createIOProc BrindlemuxAudio_UID_A on com.brindlemux.input-io -> proc3",
                  "startDevice BrindlemuxAudio_UID_A proc3", "setPropertyData Speakers fsiz = 256",
                  "createAudioUnit 1 -> unit2", HasSubstr("unit2 EnableIO input"), HasSubstr("unit2 EnableIO output"),
                  "setAudioUnitProperty unit2 CurrentDevice global 0 = Speakers", HasSubstr("unit2 StreamFormat"),
                  HasSubstr("unit2 SetRenderCallback"), "initializeAudioUnit unit2", "startOutputUnit unit2"));
  EXPECT_EQ(engine.lastError, std::nullopt);

  engine.stopAll();
  const auto lines = takeJournal();
  ASSERT_EQ(lines.size(), 14U);
  EXPECT_THAT(std::vector(lines.begin(), lines.begin() + 8),
              ElementsAre("stopOutputUnit unit2", "uninitializeAudioUnit unit2", "disposeAudioUnit unit2",
                          "stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1",
                          "stopDevice BrindlemuxAudio_UID_A proc3", "destroyIOProc BrindlemuxAudio_UID_A proc3"));
  // The sources follow, in no particular order among themselves.
  EXPECT_THAT(std::vector(lines.begin() + 8, lines.end()),
              UnorderedElementsAre("stopDevice Microphone proc1", "destroyIOProc Microphone proc1",
                                   "stopDevice aggregate1 proc2", "destroyIOProc aggregate1 proc2",
                                   "destroyAggregateDevice aggregate1", "destroyProcessTap tap1"));
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  engine.stopAll();
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(DeviceEngineTest, reconcilingAgainKeepsEverything) {
  addMic(1);
  addApp(2);
  addSource(3, SystemAudioSource{});
  addMonitor(4);
  reconcile();
  EXPECT_THAT(reconcile(), IsEmpty());
}

TEST_F(DeviceEngineTest, destructorStopsEverything) {
  addMic(1);
  addMonitor(2);
  {
    DeviceEngine shortLived("BrindlemuxAudio_UID_A", graph, services);
    shortLived.reconcile(2, {}, discovery.listAudioDevices());
    EXPECT_THAT(hardware.liveResources(), Not(IsEmpty()));
  }
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(DeviceEngineTest, disabledGraphTearsEverythingDownAndEnablingStartsAfresh) {
  addMic(1);
  addMonitor(2);
  const auto started = reconcile();
  graph.enabled = false;
  reconcile();
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  EXPECT_THAT(reconcile(), IsEmpty());
  graph.enabled = true;
  EXPECT_EQ(reconcile().size(), started.size());
}

TEST_F(DeviceEngineTest, missingDeviceTearsEverythingDown) {
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.removeDevice(virtualDevice);
  reconcile();
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  EXPECT_EQ(engine.lastError, std::nullopt);
}

TEST_F(DeviceEngineTest, missingDeviceIsNoErrorAndEverythingStartsWhenItComes) {
  addMic(1);
  addMonitor(2);
  hardware.removeDevice(virtualDevice);
  EXPECT_THAT(reconcile(), IsEmpty());
  EXPECT_EQ(engine.lastError, std::nullopt);
  virtualDevice = hardware.addDevice(loopbackDevice(virtualUID));
  reconcile();
  EXPECT_THAT(hardware.liveResources(),
              UnorderedElementsAre("proc1 on Microphone running", "proc2 on BrindlemuxAudio_UID_A running",
                                   "unit1 on BrindlemuxAudio_UID_A running", "unit2 on Speakers running"));
}

TEST_F(DeviceEngineTest, sourcesAndMonitorsStartInTheOrderOfTheGraph) {
  addMic(9, "Microphone");
  addSource(1, SystemAudioSource{});
  hardware.addDevice(inputDevice("Headset"));
  addMic(5, "Headset");
  hardware.addDevice(outputDevice("Headphones"));
  addMonitor(8, "Headphones");
  addMonitor(2, "Speakers");
  std::vector<std::string> starts;
  for (const std::string& line : reconcile()) {
    if (line.starts_with("start") || line.find("CurrentDevice") != std::string::npos) starts.push_back(line);
  }
  EXPECT_THAT(
      starts,
      ElementsAre("startDevice Microphone proc1", "startDevice aggregate1 proc2", "startDevice Headset proc3",
                  HasSubstr("unit1 CurrentDevice"), "startOutputUnit unit1", "startDevice BrindlemuxAudio_UID_A proc4",
                  "setAudioUnitProperty unit2 CurrentDevice global 0 = Headphones", "startOutputUnit unit2",
                  "setAudioUnitProperty unit3 CurrentDevice global 0 = Speakers", "startOutputUnit unit3"));
}

// What goes is stopped before what comes is started, kind by kind: sources, the virtual output, the loop-back,
// monitors.
TEST_F(DeviceEngineTest, oneReconcileReplacesEverythingInAFixedOrder) {
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.addDevice(inputDevice("Headset"));
  hardware.addDevice(outputDevice("Headphones"));
  hardware.removeDevice(virtualDevice);
  virtualDevice = hardware.addDevice(loopbackDevice(virtualUID));
  graph.sources.clear();
  graph.monitors.clear();
  addMic(3, "Headset");
  addMonitor(4, "Headphones");
  // The server took the procedure away with the device, so stopping it fails, which is nothing to worry about.
  EXPECT_THAT(
      reconcile(),
      ElementsAre(
          "stopDevice Microphone proc1", "destroyIOProc Microphone proc1", "setPropertyData Headset fsiz = 256",
          "createIOProc Headset on com.brindlemux.input-io -> proc3", "startDevice Headset proc3",
          "stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1",
          "setPropertyData BrindlemuxAudio_UID_A fsiz = 256", "createAudioUnit 1 -> unit3",
          HasSubstr("unit3 EnableIO input"), HasSubstr("unit3 EnableIO output"), HasSubstr("unit3 CurrentDevice"),
          HasSubstr("unit3 StreamFormat"), HasSubstr("unit3 SetRenderCallback"), "initializeAudioUnit unit3",
          "startOutputUnit unit3", HasSubstr("stopDevice BrindlemuxAudio_UID_A proc2 ! "),
          HasSubstr("destroyIOProc BrindlemuxAudio_UID_A proc2 ! "), "setPropertyData BrindlemuxAudio_UID_A fsiz = 256",
          "createIOProc BrindlemuxAudio_UID_A on com.brindlemux.input-io -> proc4",
          "startDevice BrindlemuxAudio_UID_A proc4", "stopOutputUnit unit2", "uninitializeAudioUnit unit2",
          "disposeAudioUnit unit2", "setPropertyData Headphones fsiz = 256", "createAudioUnit 1 -> unit4",
          HasSubstr("unit4 EnableIO input"), HasSubstr("unit4 EnableIO output"), HasSubstr("unit4 CurrentDevice"),
          HasSubstr("unit4 StreamFormat"), HasSubstr("unit4 SetRenderCallback"), "initializeAudioUnit unit4",
          "startOutputUnit unit4"));
  EXPECT_EQ(engine.lastError, std::nullopt);
}

// The buffer size.

struct Latency {
  std::int64_t frames;
  std::int64_t used;

  friend void PrintTo(const Latency& latency, std::ostream* stream) {
    *stream << latency.frames << " frames, used as " << latency.used;
  }
};

class DeviceEngineLatency : public DeviceEngineTest, public testing::WithParamInterface<Latency> {};

TEST_P(DeviceEngineLatency, isClampedForEveryCaptureAndOutput) {
  addMic(1);
  addApp(2);
  addMonitor(3);
  graph.latencyFrames = GetParam().frames;
  const auto lines = reconcile();
  const std::string size = " fsiz = " + std::to_string(GetParam().used);
  for (const char* device : {"Microphone", "aggregate1", "BrindlemuxAudio_UID_A", "Speakers"}) {
    EXPECT_THAT(lines, Contains("setPropertyData " + std::string(device) + size));
  }
}

INSTANTIATE_TEST_SUITE_P(Frames, DeviceEngineLatency,
                         testing::Values(Latency{-5, 32}, Latency{16, 32}, Latency{32, 32}, Latency{512, 512},
                                         Latency{4096, 4096}, Latency{8192, 4096}));

TEST_F(DeviceEngineTest, changeOfLatencyAloneRebuildsNothing) {
  addMic(1);
  reconcile();
  graph.latencyFrames = 64;
  EXPECT_THAT(reconcile(), IsEmpty());
}

// The virtual output and the loop-back.

TEST_F(DeviceEngineTest, blockSizeIsTheOneThatTheServerRunsTheDeviceAt) {
  addMic(1);
  graph.latencyFrames = 128;
  reconcile();
  EXPECT_EQ(engine.blockFrames(), std::nullopt);
  hardware.advance(1024);
  EXPECT_EQ(engine.blockFrames(), 128);
  hardware.device(virtualDevice).bufferFrames = 480;
  hardware.advance(1024);
  EXPECT_EQ(engine.blockFrames(), 480);
  engine.stopAll();
  EXPECT_EQ(engine.blockFrames(), std::nullopt);
}

TEST_F(DeviceEngineTest, blockSizeOfADeviceThatNothingIsPlayedIntoIsThatOfItsInput) {
  graph.latencyFrames = 64;
  reconcile();
  hardware.advance(512);
  EXPECT_EQ(engine.blockFrames(), 64);
}

TEST_F(DeviceEngineTest, graphWithoutWiresHasNoVirtualOutput) {
  const UUID mic = addMic(1);
  graph.wires.clear();
  addMonitor(2);
  EXPECT_THAT(reconcile(), Not(Contains(HasSubstr("CurrentDevice global 0 = BrindlemuxAudio_UID_A"))));
  EXPECT_THAT(hardware.liveResources(),
              UnorderedElementsAre("proc1 on Microphone running", "proc2 on BrindlemuxAudio_UID_A running",
                                   "unit1 on Speakers running"));
  graph.wires.push_back({mic, 0, 0});
  EXPECT_THAT(reconcile(), Contains("setAudioUnitProperty unit2 CurrentDevice global 0 = BrindlemuxAudio_UID_A"));
  graph.wires.clear();
  EXPECT_THAT(reconcile(),
              ElementsAre("stopOutputUnit unit2", "uninitializeAudioUnit unit2", "disposeAudioUnit unit2"));
}

TEST_F(DeviceEngineTest, changedChannelCountReplacesTheVirtualOutputAlone) {
  addMic(1);
  reconcile();
  deviceChannels = 4;
  const auto lines = reconcile();
  EXPECT_EQ(lines.front(), "stopOutputUnit unit1");
  EXPECT_THAT(lines, Contains(HasSubstr("StreamFormat input 0 = lpcm flags 9, 48000 Hz, 4 channels")));
  EXPECT_THAT(lines, Not(Contains(HasSubstr("IOProc"))));
}

TEST_F(DeviceEngineTest, moreThanSixteenChannelsReplaceTheVirtualOutputEveryTime) {
  addMic(1);
  deviceChannels = 17;
  reconcile();
  EXPECT_THAT(reconcile(), Contains("stopOutputUnit unit1"));
  EXPECT_THAT(hardware.liveResources(), Contains("unit2 on BrindlemuxAudio_UID_A running"));
}

TEST_F(DeviceEngineTest, recreatedDeviceGetsANewOutputAndLoopback) {
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.removeDevice(virtualDevice);
  virtualDevice = hardware.addDevice(loopbackDevice("BrindlemuxAudio_UID_A"));
  const auto lines = reconcile();
  EXPECT_THAT(lines, Contains("disposeAudioUnit unit1"));
  EXPECT_THAT(lines, Contains("setAudioUnitProperty unit3 CurrentDevice global 0 = BrindlemuxAudio_UID_A"));
  EXPECT_THAT(lines, Contains("createIOProc BrindlemuxAudio_UID_A on com.brindlemux.input-io -> proc3"));
  EXPECT_THAT(hardware.liveResources(),
              UnorderedElementsAre("proc1 on Microphone running", "proc3 on BrindlemuxAudio_UID_A running",
                                   "unit2 on Speakers running", "unit3 on BrindlemuxAudio_UID_A running"));
}

// Monitors hear the new loop-back from its reset distance on, as new readers do.
TEST_F(DeviceEngineTest, monitorHearsARecreatedDevice) {
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(4800);
  hardware.removeDevice(virtualDevice);
  virtualDevice = hardware.addDevice(loopbackDevice("BrindlemuxAudio_UID_A"));
  reconcile();
  hardware.takeOutput(speakers);
  hardware.advance(9600);
  EXPECT_EQ(hardware.takeOutput(speakers).at(0).back(), 0.25F);
}

// Sound.

// The microphone's 0.25 goes at gain 0.5 to both channels, the application's 0.125 at unity to the first.
TEST_F(DeviceEngineTest, soundGoesFromTheSourcesThroughTheDeviceToTheMonitor) {
  const UUID mic = addMic(1);
  graph.sources.back().gain = 0.5F;
  const UUID app = addApp(2);
  graph.wires.pop_back();
  addMonitor(3);
  reconcile();
  hardware.advance(48000);
  const auto output = hardware.takeOutput(virtualDevice);
  // 0.25 * 0.5 + 0.125 and 0.25 * 0.5
  EXPECT_EQ(output.at(0).back(), 0.25F);
  EXPECT_EQ(output.at(1).back(), 0.125F);
  const auto monitor = hardware.takeOutput(speakers);
  EXPECT_EQ(monitor.at(0).back(), 0.25F);
  EXPECT_EQ(monitor.at(1).back(), 0.125F);

  const MeterSnapshot meters = engine.meterSnapshot();
  EXPECT_EQ(meters.sourcePeaks.at(mic), (std::vector<float>{0.25F, 0.25F}));
  EXPECT_EQ(meters.sourcePeaks.at(app), (std::vector<float>{0.125F, 0.125F}));
  EXPECT_EQ(meters.outputPeaks, (std::vector<float>{0.25F, 0.125F}));
  EXPECT_EQ(meters.passThruPeaks, (std::vector<float>{0, 0}));
}

TEST_F(DeviceEngineTest, gainChangeIsHeardWithoutAGap) {
  addMic(1);
  reconcile();
  hardware.advance(48000);
  hardware.takeOutput(virtualDevice);
  graph.masterGain = 0.5F;
  EXPECT_THAT(reconcile(), IsEmpty());
  hardware.advance(4800);
  const auto output = hardware.takeOutput(virtualDevice);
  EXPECT_THAT(output.at(0), AllOf(Not(IsEmpty()), Each(0.125F)));
}

TEST_F(DeviceEngineTest, foreignAudioInTheDeviceIsMeteredAsPassThrough) {
  SimulatedProcess foreign = playingProcess(300, std::nullopt, constantSignal(0.5F));
  foreign.outputUID = "BrindlemuxAudio_UID_A";
  hardware.addProcess(foreign);
  reconcile();
  hardware.advance(4800);
  const MeterSnapshot meters = engine.meterSnapshot();
  EXPECT_EQ(meters.passThruPeaks, (std::vector<float>{0.5F, 0.5F}));
  EXPECT_EQ(meters.outputPeaks, (std::vector<float>{0.5F, 0.5F}));
}

TEST_F(DeviceEngineTest, stoppedEngineMetersNothing) {
  addMic(1);
  reconcile();
  hardware.advance(4800);
  engine.meterSnapshot();
  engine.stopAll();
  const MeterSnapshot meters = engine.meterSnapshot();
  EXPECT_TRUE(meters.sourcePeaks.empty());
  EXPECT_THAT(meters.outputPeaks, Each(0.0F));
}

}  // namespace
}  // namespace brindlemux
