#include "engine/process_tap_capture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <unistd.h>

#include "platform/audio_router_error.h"
#include "support/engine_scene.h"
#include "support/hardware_client.h"
#include "support/ring_reading.h"

namespace brindlemux {
namespace {

using test::constantSignal;
using test::interleavedFormat;
using test::outputDevice;
using test::playingProcess;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class ProcessTapCaptureTest : public testing::Test, public test::EngineScene {
 protected:
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  const AudioObjectID player = hardware.addProcess(playingProcess(100, "com.example.Player", constantSignal(0.25F)));

  std::string failure() {
    try {
      ProcessTapCapture capture(services, std::vector{player}, 128);
    } catch (const AudioRouterError& error) {
      return error.message();
    }
    return "started";
  }
};

// The tap takes the first identifier, the aggregate the second.
TEST_F(ProcessTapCaptureTest, startsAndCleansUpInAFixedOrder) {
  hardware.journal().keepReads({kAudioTapPropertyFormat, kAudioHardwarePropertyDefaultOutputDevice});
  ProcessTapCapture capture(services, std::vector{player}, 128);
  EXPECT_EQ(capture.clockUID(), "Speakers");
  EXPECT_EQ(capture.ring()->channels(), 2);
  EXPECT_EQ(capture.ring()->capacity(), 96000);
  EXPECT_THAT(
      takeJournal(),
      ElementsAre("createProcessTap \"Brindlemux Tap\" of " + std::to_string(player) + ", private, mute 0 -> tap1",
                  "propertyData tap1 tfmt", "propertyData system dOut",
                  "createAggregateDevice {master: \"Speakers\" name: \"Brindlemux Tap Aggregate\" private: true "
                  "subdevices: [{uid: \"Speakers\"}] tapautostart: true "
                  "taps: [{drift: true uid: \"00000000-0000-0000-0000-000000000001\"}] "
                  "uid: \"com.brindlemux.tap.00000000-0000-0000-0000-000000000002\"} -> aggregate1",
                  "setPropertyData aggregate1 fsiz = 128", "createIOProc aggregate1 on com.brindlemux.tap-io -> proc1",
                  "startDevice aggregate1 proc1"));
  capture.cleanup();
  EXPECT_THAT(takeJournal(), ElementsAre("stopDevice aggregate1 proc1", "destroyIOProc aggregate1 proc1",
                                         "destroyAggregateDevice aggregate1", "destroyProcessTap tap1"));
  capture.cleanup();
  EXPECT_THAT(takeJournal(), IsEmpty());
}

TEST_F(ProcessTapCaptureTest, destructorCleansUp) {
  { ProcessTapCapture capture(services, std::nullopt, 128); }
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(ProcessTapCaptureTest, systemAudioExcludesTheProgramItself) {
  const AudioObjectID self = hardware.addProcess(playingProcess(getpid()));
  ProcessTapCapture capture(services, std::nullopt, 128);
  EXPECT_EQ(takeJournal().front(),
            "createProcessTap \"Brindlemux Tap\" of all except " + std::to_string(self) + ", private, mute 0 -> tap1");
}

TEST_F(ProcessTapCaptureTest, systemAudioExcludesNothingWhenTheServerDoesNotKnowTheProgram) {
  { ProcessTapCapture capture(services, std::nullopt, 128); }
  EXPECT_EQ(takeJournal().front(), "createProcessTap \"Brindlemux Tap\" of all except, private, mute 0 -> tap1");
  hardware.addProcess(playingProcess(getpid()));
  hardware.journal().failNext("propertyData system id2p", -50);
  { ProcessTapCapture capture(services, std::nullopt, 128); }
  EXPECT_EQ(takeJournal().front(), "createProcessTap \"Brindlemux Tap\" of all except, private, mute 0 -> tap2");
}

TEST_F(ProcessTapCaptureTest, anEmptyListOfProcessesIsNotSystemAudio) {
  ProcessTapCapture capture(services, std::vector<AudioObjectID>{}, 128);
  EXPECT_EQ(takeJournal().front(), "createProcessTap \"Brindlemux Tap\" of, private, mute 0 -> tap1");
}

TEST_F(ProcessTapCaptureTest, hearsItsProcessesOnly) {
  hardware.addProcess(playingProcess(101, "com.example.Other", constantSignal(0.5F)));
  ProcessTapCapture one(services, std::vector{player}, 128);
  ProcessTapCapture all(services, std::nullopt, 128);
  hardware.advance(256);
  EXPECT_THAT(test::firstFrames(*one.ring(), 1, 256), testing::AllOf(SizeIs(256), Each(0.25F)));
  EXPECT_THAT(test::firstFrames(*all.ring(), 0, 256), testing::AllOf(SizeIs(256), Each(0.75F)));
}

// 2048 frames at 48000 Hz last as long as 1881.6 at 44100: 14 blocks of 128 frames, less the look-ahead of 96.
TEST_F(ProcessTapCaptureTest, tapOfAnotherRateIsConverted) {
  hardware.setTapFormat(interleavedFormat(44100, 2));
  ProcessTapCapture capture(services, std::vector{player}, 128);
  hardware.advance(2048);
  EXPECT_NEAR(static_cast<double>(capture.ring()->head()), (14.0 * 128 - 96) * 48000 / 44100, 2);
}

TEST_F(ProcessTapCaptureTest, monoTapFillsBothChannels) {
  hardware.setTapFormat(interleavedFormat(48000, 1));
  ProcessTapCapture capture(services, std::vector{player}, 128);
  hardware.advance(128);
  EXPECT_THAT(test::firstFrames(*capture.ring(), 0, 128), testing::AllOf(SizeIs(128), Each(0.25F)));
  EXPECT_THAT(test::firstFrames(*capture.ring(), 1, 128), testing::AllOf(SizeIs(128), Each(0.25F)));
}

TEST_F(ProcessTapCaptureTest, tapThatReportsNoChannelsStartsAsMono) {
  hardware.setTapFormat(interleavedFormat(48000, 0));
  EXPECT_EQ(failure(), "started");
}

TEST_F(ProcessTapCaptureTest, withoutAClockNothingIsLeftBehind) {
  hardware.removeDevice(speakers);
  EXPECT_EQ(failure(), "No hardware output device found for tap clock");
  EXPECT_THAT(takeJournal(), ElementsAre(HasSubstr("createProcessTap"), "destroyProcessTap tap1"));
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

TEST_F(ProcessTapCaptureTest, impossibleTapFormatLeavesNothingBehind) {
  hardware.setTapFormat(interleavedFormat(0, 2));
  EXPECT_EQ(failure(), "Failed to prepare tap buffer");
  EXPECT_THAT(takeJournal(), ElementsAre(HasSubstr("createProcessTap"), HasSubstr("createAggregateDevice"),
                                         "setPropertyData aggregate1 fsiz = 128", "destroyAggregateDevice aggregate1",
                                         "destroyProcessTap tap1"));
}

TEST_F(ProcessTapCaptureTest, refusedBufferSizeIsNoFailure) {
  hardware.journal().failNext("setPropertyData aggregate1 fsiz", -50);
  EXPECT_EQ(failure(), "started");
}

TEST_F(ProcessTapCaptureTest, formatOfAnotherTypeIsAFailedRead) {
  SimulatedAnswer answer;
  answer.value = PropertyValue(2U);
  // The tap is the next object to be made.
  hardware.setAnswer(player + 1, globalAddress(kAudioTapPropertyFormat), answer);
  EXPECT_THAT(failure(), HasSubstr("Reading tap format failed (OSStatus "));
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

struct Step {
  std::string call;
  std::string what;
  std::vector<std::string> teardown;

  friend void PrintTo(const Step& step, std::ostream* stream) { *stream << step.call; }
};

class ProcessTapCaptureFailure : public ProcessTapCaptureTest, public testing::WithParamInterface<Step> {};

TEST_P(ProcessTapCaptureFailure, namesTheStepAndLeavesNothingBehind) {
  hardware.journal().failNext(GetParam().call, -50);
  EXPECT_EQ(failure(), GetParam().what + " failed (OSStatus -50)");
  EXPECT_EQ(hardware.journal().pendingFaults(), 0U);
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
  auto lines = takeJournal();
  lines.erase(lines.begin(), lines.end() - std::ssize(GetParam().teardown));
  EXPECT_EQ(lines, GetParam().teardown);
}

INSTANTIATE_TEST_SUITE_P(
    Steps, ProcessTapCaptureFailure,
    testing::Values(
        Step{"createProcessTap", "Creating process tap", {}},
        Step{"propertyData tap1 tfmt", "Reading tap format", {"destroyProcessTap tap1"}},
        Step{"createAggregateDevice", "Creating aggregate device", {"destroyProcessTap tap1"}},
        Step{"createIOProc", "Creating tap IOProc", {"destroyAggregateDevice aggregate1", "destroyProcessTap tap1"}},
        Step{"startDevice",
             "Starting tap IO",
             {"stopDevice aggregate1 proc1", "destroyIOProc aggregate1 proc1", "destroyAggregateDevice aggregate1",
              "destroyProcessTap tap1"}}),
    [](const auto& instance) { return instance.param.call.substr(0, instance.param.call.find(' ')); });

}  // namespace
}  // namespace brindlemux
