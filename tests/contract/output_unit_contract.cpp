#include <cstdint>
#include <gtest/gtest.h>
#include <set>

#include "contract/audio_hardware_contract.h"
#include "support/hardware_client.h"

namespace brindlemux::test {
namespace {

TEST_P(AudioHardwareContract, onlyTheOutputComponentIsFound) {
  EXPECT_NE(outputComponent(), 0U);
  EXPECT_EQ(hardware.findComponent(kAudioUnitType_Output, noSuchSelector, kAudioUnitManufacturer_Apple), 0U);
  EXPECT_EQ(hardware.findComponent(noSuchSelector, kAudioUnitSubType_HALOutput, kAudioUnitManufacturer_Apple), 0U);
}

TEST_P(AudioHardwareContract, unitOfNoComponentIsRefused) {
  AudioUnitID unit = 77;
  EXPECT_NE(hardware.createAudioUnit(0, unit), noErr);
  EXPECT_EQ(unit, 77U);
}

TEST_P(AudioHardwareContract, unknownUnitAnswersWithAStatus) {
  constexpr AudioUnitID noSuchUnit = 0x7FFFFFF0;
  EXPECT_NE(hardware.setAudioUnitProperty(noSuchUnit, kAudioOutputUnitProperty_EnableIO, AudioUnitScope::output, 0, 1U),
            noErr);
  EXPECT_NE(hardware.initializeAudioUnit(noSuchUnit), noErr);
  EXPECT_NE(hardware.startOutputUnit(noSuchUnit), noErr);
  EXPECT_NE(hardware.stopOutputUnit(noSuchUnit), noErr);
  EXPECT_NE(hardware.uninitializeAudioUnit(noSuchUnit), noErr);
  EXPECT_NE(hardware.disposeAudioUnit(noSuchUnit), noErr);
}

TEST_P(AudioHardwareContract, unitRunsBetweenStartAndStop) {
  const Output output = makeOutput();
  EXPECT_EQ(hardware.initializeAudioUnit(output.unit), noErr);
  letCyclesPass();
  EXPECT_EQ(*output.callbacks, 0);
  EXPECT_EQ(hardware.startOutputUnit(output.unit), noErr);
  EXPECT_EQ(hardware.startOutputUnit(output.unit), noErr);
  EXPECT_TRUE(waitForMore(output.callbacks));
  EXPECT_EQ(hardware.stopOutputUnit(output.unit), noErr);
  const int stopped = *output.callbacks;
  EXPECT_EQ(hardware.stopOutputUnit(output.unit), noErr);
  letCyclesPass();
  EXPECT_EQ(*output.callbacks, stopped);
  EXPECT_EQ(*output.misshapen, 0);
  EXPECT_EQ(hardware.uninitializeAudioUnit(output.unit), noErr);
  EXPECT_EQ(hardware.disposeAudioUnit(output.unit), noErr);
}

TEST_P(AudioHardwareContract, unitKeepsItsOwnChannelCount) {
  const Output output = makeOutput(16);
  EXPECT_EQ(hardware.initializeAudioUnit(output.unit), noErr);
  EXPECT_EQ(hardware.startOutputUnit(output.unit), noErr);
  EXPECT_TRUE(waitForMore(output.callbacks));
  EXPECT_EQ(hardware.stopOutputUnit(output.unit), noErr);
  EXPECT_EQ(*output.misshapen, 0);
  EXPECT_EQ(hardware.disposeAudioUnit(output.unit), noErr);
}

TEST_P(AudioHardwareContract, unitMustBeInitializedBeforeItStarts) {
  const Output output = makeOutput();
  EXPECT_NE(hardware.startOutputUnit(output.unit), noErr);
  letCyclesPass();
  EXPECT_EQ(*output.callbacks, 0);
  EXPECT_EQ(hardware.disposeAudioUnit(output.unit), noErr);
}

TEST_P(AudioHardwareContract, disposedUnitNeverRunsAndItsHandleIsNotReused) {
  std::set<AudioUnitID> handles;
  for (int round = 0; round < 3; ++round) {
    const Output output = makeOutput();
    EXPECT_TRUE(handles.insert(output.unit).second);
    EXPECT_EQ(hardware.initializeAudioUnit(output.unit), noErr);
    EXPECT_EQ(hardware.startOutputUnit(output.unit), noErr);
    EXPECT_TRUE(waitForMore(output.callbacks));
    EXPECT_EQ(hardware.disposeAudioUnit(output.unit), noErr);
    const int disposed = *output.callbacks;
    letCyclesPass();
    EXPECT_EQ(*output.callbacks, disposed);
    EXPECT_NE(hardware.startOutputUnit(output.unit), noErr);
    EXPECT_NE(hardware.disposeAudioUnit(output.unit), noErr);
  }
}

TEST_P(AudioHardwareContract, unusableUnitPropertiesAreRefused) {
  AudioUnitID unit = 0;
  ASSERT_EQ(hardware.createAudioUnit(outputComponent(), unit), noErr);
  const auto set = [&](std::uint32_t property, AudioUnitScope scope, std::uint32_t element,
                       const AudioUnitPropertyValue& value) {
    return hardware.setAudioUnitProperty(unit, property, scope, element, value);
  };
  EXPECT_NE(set(kAudioOutputUnitProperty_CurrentDevice, AudioUnitScope::global, 0, noSuchObject), noErr);
  EXPECT_NE(set(kAudioOutputUnitProperty_CurrentDevice, AudioUnitScope::global, 0, interleavedFormat(48000, 2)), noErr);
  EXPECT_NE(set(kAudioUnitProperty_StreamFormat, AudioUnitScope::input, 0, StreamFormat{}), noErr);
  EXPECT_NE(set(kAudioUnitProperty_StreamFormat, AudioUnitScope::input, 0, 2U), noErr);
  EXPECT_NE(set(kAudioUnitProperty_SetRenderCallback, AudioUnitScope::input, 0, RenderCallback{}), noErr);
  EXPECT_NE(set(4242, AudioUnitScope::global, 0, 1U), noErr);
  EXPECT_EQ(hardware.disposeAudioUnit(unit), noErr);
}

}  // namespace
}  // namespace brindlemux::test
