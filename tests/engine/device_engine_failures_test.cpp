#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "engine/device_engine.h"
#include "engine/device_engine_fixture.h"

namespace brindlemux {
namespace {

using test::DeviceEngineTest;
using test::inputDevice;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using testing::UnorderedElementsAre;

TEST_F(DeviceEngineTest, failuresAreKeptAndTheRestRunsOn) {
  addMic(1);
  addApp(2);
  addMonitor(3);
  hardware.journal().failNext("createProcessTap", -50);
  reconcile();
  EXPECT_EQ(engine.lastError, "Creating process tap failed (OSStatus -50)");
  EXPECT_THAT(hardware.liveResources(),
              UnorderedElementsAre("proc1 on Microphone running", "proc2 on BrindlemuxAudio_UID_A running",
                                   "unit1 on BrindlemuxAudio_UID_A running", "unit2 on Speakers running"));
  // The next reconcile tries again and leaves the message for its reader.
  reconcile();
  EXPECT_EQ(engine.lastError, "Creating process tap failed (OSStatus -50)");
  EXPECT_THAT(hardware.liveResources(), Contains("tap1"));
}

TEST_F(DeviceEngineTest, theLatestFailureIsKept) {
  addMic(1);
  addMonitor(2);
  hardware.journal().failNext("startDevice Microphone", -1);
  hardware.journal().failNext("createAudioUnit", -2);
  hardware.journal().failNext("startDevice BrindlemuxAudio_UID_A", -3);
  hardware.journal().failNext("initializeAudioUnit unit1", -4);
  reconcile();
  EXPECT_EQ(engine.lastError, "Initializing audio unit failed (OSStatus -4)");
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  engine.lastError = std::nullopt;
  reconcile();
  EXPECT_EQ(engine.lastError, std::nullopt);
  EXPECT_THAT(hardware.liveResources(), SizeIs(4));
}

TEST_F(DeviceEngineTest, inputThatFailsToMoveToANewDeviceIsTriedAgain) {
  addMic(1);
  reconcile();
  hardware.removeDevice(microphone);
  microphone = hardware.addDevice(inputDevice("Microphone"));
  hardware.journal().failNext("createIOProc Microphone", -7);
  reconcile();
  EXPECT_EQ(engine.lastError, "Creating input IOProc failed (OSStatus -7)");
  EXPECT_THAT(hardware.liveResources(), Not(Contains(HasSubstr("Microphone"))));
  EXPECT_THAT(reconcile(), Contains(HasSubstr("startDevice Microphone")));
}

TEST_F(DeviceEngineTest, inputDeviceThatLosesItsChannelsIsReportedWhenItIsStarted) {
  hardware.device(microphone).inputBuffers = {};
  addMic(1);
  reconcile();
  EXPECT_EQ(engine.lastError, "Device has no input channels");
  hardware.device(microphone).inputBuffers = {2};
  EXPECT_THAT(reconcile(), Contains(HasSubstr("startDevice Microphone")));
}

// Stopping is not checked: whatever fails there, everything is let go of.
TEST_F(DeviceEngineTest, failuresOfStoppingAreIgnored) {
  addMic(1);
  addApp(2);
  addMonitor(3);
  reconcile();
  for (const char* call : {"stopDevice", "stopOutputUnit", "uninitializeAudioUnit"}) {
    hardware.journal().failEvery(call, -50);
  }
  engine.stopAll();
  EXPECT_EQ(engine.lastError, std::nullopt);
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  takeJournal();
  engine.stopAll();
  EXPECT_THAT(takeJournal(), IsEmpty());
}

// A server that will not stop anything goes on calling back.
TEST_F(DeviceEngineTest, callbacksThatOutliveTheirEngineAreSilentAndHarmless) {
  addMic(1);
  addApp(2);
  addMonitor(3);
  {
    DeviceEngine shortLived("BrindlemuxAudio_UID_A", graph, services);
    shortLived.reconcile(2, discovery.listAudioProcesses(), discovery.listAudioDevices());
    hardware.advance(4800);
    for (const char* call : {"stop", "uninitializeAudioUnit", "dispose", "destroy"})
      hardware.journal().failEvery(call, -50);
  }
  hardware.takeOutput(virtualDevice);
  hardware.takeOutput(speakers);
  EXPECT_THAT(hardware.liveResources(), Contains(HasSubstr("running")).Times(5));
  hardware.advance(4800);
  EXPECT_THAT(hardware.takeOutput(virtualDevice).at(0), AllOf(Not(IsEmpty()), Each(0.0F)));
  EXPECT_THAT(hardware.takeOutput(speakers).at(0), AllOf(Not(IsEmpty()), Each(0.0F)));
}

TEST_F(DeviceEngineTest, outputThatTheServerWillNotStopDoesNotPlayBesideItsSuccessor) {
  addMic(1);
  reconcile();
  for (const char* call : {"stopOutputUnit", "uninitializeAudioUnit", "disposeAudioUnit"}) {
    hardware.journal().failEvery(call, -50);
  }
  deviceChannels = 4;
  reconcile();
  EXPECT_THAT(hardware.liveResources(), Contains(HasSubstr("unit")).Times(2));
  hardware.advance(9600);
  hardware.takeOutput(virtualDevice);
  hardware.advance(4800);
  EXPECT_THAT(hardware.takeOutput(virtualDevice).at(0), AllOf(Not(IsEmpty()), Each(0.25F)));
}

}  // namespace
}  // namespace brindlemux
