#include <atomic>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <string>

#include "contract/audio_hardware_contract.h"

namespace brindlemux::test {
namespace {

// I/O procedures.

TEST_P(AudioHardwareContract, procedureRunsBetweenStartAndStop) {
  const Capture capture = makeCapture(server->inputDevice());
  letCyclesPass();
  EXPECT_EQ(*capture.cycles, 0);
  EXPECT_EQ(hardware.startDevice(capture.device, capture.procedure), noErr);
  EXPECT_TRUE(waitForMore(capture.cycles));
  EXPECT_EQ(hardware.stopDevice(capture.device, capture.procedure), noErr);
  const int stopped = *capture.cycles;
  letCyclesPass();
  EXPECT_EQ(*capture.cycles, stopped);
  EXPECT_EQ(hardware.startDevice(capture.device, capture.procedure), noErr);
  EXPECT_TRUE(waitForMore(capture.cycles));
  EXPECT_EQ(hardware.destroyIOProc(capture.device, capture.procedure), noErr);
}

TEST_P(AudioHardwareContract, startingAndStoppingAProcedureTwiceIsHarmless) {
  const Capture capture = makeCapture(server->inputDevice());
  EXPECT_EQ(hardware.stopDevice(capture.device, capture.procedure), noErr);
  EXPECT_EQ(hardware.startDevice(capture.device, capture.procedure), noErr);
  EXPECT_EQ(hardware.startDevice(capture.device, capture.procedure), noErr);
  EXPECT_TRUE(waitForMore(capture.cycles));
  EXPECT_EQ(hardware.stopDevice(capture.device, capture.procedure), noErr);
  EXPECT_EQ(hardware.stopDevice(capture.device, capture.procedure), noErr);
  const int stopped = *capture.cycles;
  letCyclesPass();
  EXPECT_EQ(*capture.cycles, stopped);
  EXPECT_EQ(hardware.destroyIOProc(capture.device, capture.procedure), noErr);
}

TEST_P(AudioHardwareContract, destroyedProcedureNeverRunsAndItsHandleIsNotReused) {
  std::set<AudioDeviceIOProcID> handles;
  for (int round = 0; round < 3; ++round) {
    const Capture capture = makeCapture(server->inputDevice());
    EXPECT_TRUE(handles.insert(capture.procedure).second);
    EXPECT_EQ(hardware.startDevice(capture.device, capture.procedure), noErr);
    EXPECT_TRUE(waitForMore(capture.cycles));
    EXPECT_EQ(hardware.destroyIOProc(capture.device, capture.procedure), noErr);
    const int destroyed = *capture.cycles;
    letCyclesPass();
    EXPECT_EQ(*capture.cycles, destroyed);
    EXPECT_NE(hardware.startDevice(capture.device, capture.procedure), noErr);
    EXPECT_NE(hardware.stopDevice(capture.device, capture.procedure), noErr);
    EXPECT_NE(hardware.destroyIOProc(capture.device, capture.procedure), noErr);
  }
}

TEST_P(AudioHardwareContract, procedureBelongsToItsDevice) {
  const Capture capture = makeCapture(server->inputDevice());
  EXPECT_NE(hardware.startDevice(server->outputDevice(), capture.procedure), noErr);
  EXPECT_NE(hardware.destroyIOProc(server->outputDevice(), capture.procedure), noErr);
  EXPECT_EQ(hardware.destroyIOProc(capture.device, capture.procedure), noErr);
}

TEST_P(AudioHardwareContract, inputArrivesInTheAnnouncedLayout) {
  const AudioObjectID device = server->inputDevice();
  const auto layout =
      read<BufferLayout>(device, {kAudioDevicePropertyStreamConfiguration, kAudioObjectPropertyScopeInput, 0});
  auto cycles = std::make_shared<std::atomic<int>>(0);
  auto misshapen = std::make_shared<std::atomic<int>>(0);
  AudioDeviceIOProcID procedure = 0;
  ASSERT_EQ(hardware.createIOProc(
                device, "contract",
                [&layout, cycles, misshapen](AudioBufferList input) {
                  ++*cycles;
                  bool isRight = input.size() == layout.channelsPerBuffer.size();
                  for (std::size_t i = 0; isRight && i < input.size(); ++i) {
                    const std::uint32_t frames = input[0].byteSize / (4 * input[0].channels);
                    isRight = input[i].channels == layout.channelsPerBuffer[i] && frames > 0 &&
                              input[i].byteSize == 4 * frames * input[i].channels && input[i].data != nullptr;
                  }
                  if (!isRight) ++*misshapen;
                },
                procedure),
            noErr);
  EXPECT_EQ(hardware.startDevice(device, procedure), noErr);
  EXPECT_TRUE(waitForMore(cycles, 5));
  EXPECT_EQ(hardware.stopDevice(device, procedure), noErr);
  EXPECT_EQ(*misshapen, 0);
  EXPECT_EQ(hardware.destroyIOProc(device, procedure), noErr);
}

// Process taps.

TEST_P(AudioHardwareContract, tapHasAFormatUntilItIsDestroyed) {
  std::set<AudioObjectID> taps;
  for (int round = 0; round < 2; ++round) {
    AudioObjectID tap = kAudioObjectUnknown;
    ASSERT_EQ(hardware.createProcessTap(describeTap(), tap), noErr);
    EXPECT_TRUE(taps.insert(tap).second);
    const auto format = read<StreamFormat>(tap, globalAddress(kAudioTapPropertyFormat));
    EXPECT_GT(format.sampleRate, 0);
    EXPECT_GE(format.channelsPerFrame, 1U);
    EXPECT_EQ(sizeOf(tap, globalAddress(kAudioTapPropertyFormat)), 40U);
    EXPECT_EQ(hardware.destroyProcessTap(tap), noErr);
    expectUnreadable(tap, globalAddress(kAudioTapPropertyFormat));
    EXPECT_NE(hardware.destroyProcessTap(tap), noErr);
  }
}

TEST_P(AudioHardwareContract, tapOfAnUnknownProcessIsRefused) {
  TapDescription description = describeTap();
  description.processes = {noSuchObject};
  AudioObjectID tap = 77;
  EXPECT_NE(hardware.createProcessTap(description, tap), noErr);
  EXPECT_EQ(tap, 77U);
}

TEST_P(AudioHardwareContract, aggregateRunsItsTapUntilItIsDestroyed) {
  const TapDescription description = describeTap();
  AudioObjectID tap = kAudioObjectUnknown;
  ASSERT_EQ(hardware.createProcessTap(description, tap), noErr);
  AudioObjectID aggregate = kAudioObjectUnknown;
  ASSERT_EQ(
      hardware.createAggregateDevice(describeAggregate(description.uuid, uidOf(server->outputDevice())), aggregate),
      noErr);
  const Capture capture = makeCapture(aggregate);
  EXPECT_EQ(hardware.startDevice(aggregate, capture.procedure), noErr);
  EXPECT_TRUE(waitForMore(capture.cycles));
  EXPECT_EQ(hardware.stopDevice(aggregate, capture.procedure), noErr);
  EXPECT_EQ(hardware.destroyIOProc(aggregate, capture.procedure), noErr);
  EXPECT_EQ(hardware.destroyAggregateDevice(aggregate), noErr);
  EXPECT_NE(hardware.destroyAggregateDevice(aggregate), noErr);
  EXPECT_EQ(hardware.destroyProcessTap(tap), noErr);
}

TEST_P(AudioHardwareContract, aggregateWithoutItsClockOrTapIsRefused) {
  const TapDescription description = describeTap();
  const std::string clockUID = uidOf(server->outputDevice());
  AudioObjectID aggregate = 77;
  // The tap was never made.
  EXPECT_NE(hardware.createAggregateDevice(describeAggregate(description.uuid, clockUID), aggregate), noErr);
  AudioObjectID tap = kAudioObjectUnknown;
  ASSERT_EQ(hardware.createProcessTap(description, tap), noErr);
  EXPECT_NE(hardware.createAggregateDevice(describeAggregate(description.uuid, "no such UID"), aggregate), noErr);
  EXPECT_NE(hardware.createAggregateDevice({}, aggregate), noErr);
  EXPECT_EQ(aggregate, 77U);
  EXPECT_EQ(hardware.destroyProcessTap(tap), noErr);
}

}  // namespace
}  // namespace brindlemux::test
