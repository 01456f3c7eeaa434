#pragma once

#include <algorithm>
#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

#include "contract/audio_hardware_under_test.h"
#include "support/hardware_client.h"

// What every implementation of AudioHardware must do, whatever stands behind it. A test program includes this header
// and instantiates AudioHardwareContract with the factory of its implementation.

namespace brindlemux::test {

inline constexpr AudioObjectID noSuchObject = 0x7FFFFFF0;
inline constexpr FourCharCode noSuchSelector = fourCharCode("????");

class AudioHardwareContract : public testing::TestWithParam<AudioHardwareFactory> {
 protected:
  std::unique_ptr<AudioHardwareUnderTest> server = GetParam().make();
  AudioHardware& hardware = server->hardware();

  /// The property's value, which must be there and be of this type.
  template <typename Value>
  Value read(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& qualifier = {}) {
    PropertyValue value;
    EXPECT_EQ(hardware.propertyData(object, address, qualifier, value), noErr);
    const Value* typed = std::get_if<Value>(&value);
    EXPECT_NE(typed, nullptr);
    return typed == nullptr ? Value{} : *typed;
  }

  std::string uidOf(AudioObjectID device) {
    return read<std::string>(device, globalAddress(kAudioDevicePropertyDeviceUID));
  }

  AudioObjectID deviceWithUID(const std::string& uid) {
    return read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslateUIDToDevice),
                               uid);
  }

  void expectUnreadable(AudioObjectID object, const AudioObjectPropertyAddress& address) {
    EXPECT_FALSE(hardware.hasProperty(object, address));
    std::uint32_t size = 77;
    EXPECT_NE(hardware.propertyDataSize(object, address, size), noErr);
    EXPECT_EQ(size, 77U);
    PropertyValue value = 77U;
    EXPECT_NE(hardware.propertyData(object, address, {}, value), noErr);
    EXPECT_EQ(value, PropertyValue(77U));
    EXPECT_NE(hardware.setPropertyData(object, address, 1U), noErr);
  }

  std::uint32_t sizeOf(AudioObjectID object, const AudioObjectPropertyAddress& address) {
    std::uint32_t size = 0;
    EXPECT_EQ(hardware.propertyDataSize(object, address, size), noErr);
    return size;
  }

  /// Counts the callbacks of a procedure or unit, which may come from another thread.
  using Counter = std::shared_ptr<std::atomic<int>>;

  /// An I/O procedure that counts its cycles. Destroyed with its device stopped.
  struct Capture {
    AudioObjectID device = kAudioObjectUnknown;
    AudioDeviceIOProcID procedure = 0;
    Counter cycles = std::make_shared<std::atomic<int>>(0);
  };
  Capture makeCapture(AudioObjectID device) {
    Capture capture;
    capture.device = device;
    const auto block = [cycles = capture.cycles](AudioBufferList) { ++*cycles; };
    EXPECT_EQ(hardware.createIOProc(device, "contract", block, capture.procedure), noErr);
    EXPECT_NE(capture.procedure, 0U);
    return capture;
  }

  AudioComponentID outputComponent() {
    return hardware.findComponent(kAudioUnitType_Output, kAudioUnitSubType_HALOutput, kAudioUnitManufacturer_Apple);
  }

  /// A unit on the output device, ready to be initialised, that counts its callbacks.
  struct Output {
    AudioUnitID unit = 0;
    Counter callbacks = std::make_shared<std::atomic<int>>(0);
    /// The callbacks whose buffers were not one interleaved buffer of the format's channels.
    Counter misshapen = std::make_shared<std::atomic<int>>(0);
  };
  Output makeOutput(std::uint32_t channels = 2) {
    Output output;
    EXPECT_EQ(hardware.createAudioUnit(outputComponent(), output.unit), noErr);
    EXPECT_NE(output.unit, 0U);
    EXPECT_EQ(hardware.setAudioUnitProperty(output.unit, kAudioOutputUnitProperty_CurrentDevice, AudioUnitScope::global,
                                            0, server->outputDevice()),
              noErr);
    EXPECT_EQ(hardware.setAudioUnitProperty(output.unit, kAudioUnitProperty_StreamFormat, AudioUnitScope::input, 0,
                                            interleavedFormat(48000, channels)),
              noErr);
    const RenderCallback callback = [callbacks = output.callbacks, misshapen = output.misshapen, channels](
                                        AudioBufferList buffers, std::uint32_t frames) {
      ++*callbacks;
      const bool isRight = buffers.size() == 1 && buffers.front().channels == channels &&
                           buffers.front().byteSize == 4 * channels * frames && buffers.front().data != nullptr;
      if (!isRight) ++*misshapen;
      return noErr;
    };
    EXPECT_EQ(hardware.setAudioUnitProperty(output.unit, kAudioUnitProperty_SetRenderCallback, AudioUnitScope::input, 0,
                                            callback),
              noErr);
    return output;
  }

  bool waitForMore(const Counter& counter, int count = 3) {
    const int wanted = counter->load() + count;
    return server->waitUntil([&] { return counter->load() >= wanted; });
  }

  /// Lets as much time pass as several cycles of a device take: time by which a stopped callback would have run.
  void letCyclesPass() {
    Capture reference = makeCapture(server->inputDevice());
    EXPECT_EQ(hardware.startDevice(reference.device, reference.procedure), noErr);
    EXPECT_TRUE(waitForMore(reference.cycles, 10));
    EXPECT_EQ(hardware.stopDevice(reference.device, reference.procedure), noErr);
    EXPECT_EQ(hardware.destroyIOProc(reference.device, reference.procedure), noErr);
  }

  TapDescription describeTap() {
    TapDescription description;
    description.uuid.bytes[15] = ++identifiers_;
    description.name = "Contract";
    description.processes = {server->playingProcess()};
    return description;
  }

  Dictionary describeAggregate(const UUID& tap, const std::string& clockUID) {
    return {
        {"name", std::string("Contract Aggregate")},
        {"uid", "com.brindlemux.tap." + tap.string()},
        {"private", true},
        {"master", clockUID},
        {"subdevices", DictionaryArray{Dictionary{{"uid", clockUID}}}},
        {"tapautostart", true},
        {"taps", DictionaryArray{Dictionary{{"uid", tap.string()}, {"drift", true}}}},
    };
  }

 private:
  std::uint8_t identifiers_ = 0;
};

// Properties.

TEST_P(AudioHardwareContract, unknownObjectAnswersWithAStatusAndLeavesResultsUntouched) {
  expectUnreadable(noSuchObject, globalAddress(kAudioDevicePropertyDeviceUID));
  expectUnreadable(kAudioObjectUnknown, globalAddress(kAudioDevicePropertyDeviceUID));
  AudioDeviceIOProcID procedure = 77;
  EXPECT_NE(hardware.createIOProc(
                noSuchObject, "contract", [](AudioBufferList) {}, procedure),
            noErr);
  EXPECT_EQ(procedure, 77U);
  EXPECT_NE(hardware.startDevice(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.stopDevice(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.destroyIOProc(noSuchObject, 1), noErr);
  EXPECT_NE(hardware.destroyProcessTap(noSuchObject), noErr);
  EXPECT_NE(hardware.destroyAggregateDevice(noSuchObject), noErr);
}

TEST_P(AudioHardwareContract, unknownPropertyAnswersWithAStatusAndLeavesResultsUntouched) {
  for (const AudioObjectID object :
       {kAudioObjectSystemObject, server->outputDevice(), server->inputDevice(), server->playingProcess()}) {
    expectUnreadable(object, globalAddress(noSuchSelector));
  }
}

TEST_P(AudioHardwareContract, propertiesOfOneKindOfObjectAreNotThoseOfAnother) {
  EXPECT_FALSE(hardware.hasProperty(server->outputDevice(), globalAddress(kAudioHardwarePropertyDevices)));
  EXPECT_FALSE(hardware.hasProperty(kAudioObjectSystemObject, globalAddress(kAudioDevicePropertyDeviceUID)));
  EXPECT_FALSE(hardware.hasProperty(server->playingProcess(), globalAddress(kAudioDevicePropertyNominalSampleRate)));
}

TEST_P(AudioHardwareContract, deviceListHoldsTheDevicesInWholeIDs) {
  const auto address = globalAddress(kAudioHardwarePropertyDevices);
  const auto devices = read<std::vector<AudioObjectID>>(kAudioObjectSystemObject, address);
  EXPECT_THAT(devices, testing::Contains(server->outputDevice()));
  EXPECT_THAT(devices, testing::Contains(server->inputDevice()));
  EXPECT_EQ(sizeOf(kAudioObjectSystemObject, address), 4 * devices.size());
  EXPECT_EQ(std::set(devices.begin(), devices.end()).size(), devices.size());
}

TEST_P(AudioHardwareContract, deviceDescribesItself) {
  const AudioObjectID device = server->outputDevice();
  EXPECT_FALSE(uidOf(device).empty());
  EXPECT_FALSE(read<std::string>(device, globalAddress(kAudioObjectPropertyName)).empty());
  EXPECT_GT(read<double>(device, globalAddress(kAudioDevicePropertyNominalSampleRate)), 0);
  EXPECT_GT(read<std::uint32_t>(device, globalAddress(kAudioDevicePropertyBufferFrameSize)), 0U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyDeviceUID)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioObjectPropertyName)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyNominalSampleRate)), 8U);
  EXPECT_EQ(sizeOf(device, globalAddress(kAudioDevicePropertyBufferFrameSize)), 4U);
}

TEST_P(AudioHardwareContract, streamConfigurationCountsChannelsByDirection) {
  const auto channels = [&](AudioObjectID device, FourCharCode scope) {
    const AudioObjectPropertyAddress address = {kAudioDevicePropertyStreamConfiguration, scope, 0};
    const auto layout = read<BufferLayout>(device, address);
    EXPECT_EQ(sizeOf(device, address), 8 + 16 * layout.channelsPerBuffer.size());
    std::uint32_t sum = 0;
    for (const std::uint32_t count : layout.channelsPerBuffer) sum += count;
    return sum;
  };
  EXPECT_GE(channels(server->outputDevice(), kAudioObjectPropertyScopeOutput), 2U);
  EXPECT_GE(channels(server->inputDevice(), kAudioObjectPropertyScopeInput), 1U);
}

TEST_P(AudioHardwareContract, uidTranslatesToItsDeviceAndAnUnknownOneToNone) {
  EXPECT_EQ(deviceWithUID(uidOf(server->outputDevice())), server->outputDevice());
  EXPECT_EQ(deviceWithUID(uidOf(server->inputDevice())), server->inputDevice());
  EXPECT_EQ(deviceWithUID("no such UID"), kAudioObjectUnknown);
  EXPECT_EQ(deviceWithUID(""), kAudioObjectUnknown);
}

TEST_P(AudioHardwareContract, unknownPlugInAndProcessTranslateToNone) {
  EXPECT_EQ(
      read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslateBundleIDToPlugIn),
                          std::string("com.example.NoSuchPlugIn")),
      kAudioObjectUnknown);
  EXPECT_EQ(read<AudioObjectID>(kAudioObjectSystemObject,
                                globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject), std::int32_t{-2}),
            kAudioObjectUnknown);
}

TEST_P(AudioHardwareContract, processDescribesItself) {
  const AudioObjectID process = server->playingProcess();
  const auto list = globalAddress(kAudioHardwarePropertyProcessObjectList);
  const auto processes = read<std::vector<AudioObjectID>>(kAudioObjectSystemObject, list);
  EXPECT_THAT(processes, testing::Contains(process));
  EXPECT_EQ(sizeOf(kAudioObjectSystemObject, list), 4 * processes.size());
  EXPECT_EQ(read<std::int32_t>(process, globalAddress(kAudioProcessPropertyPID)), server->playingProcessPID());
  EXPECT_NE(read<std::uint32_t>(process, globalAddress(kAudioProcessPropertyIsRunningOutput)), 0U);
  EXPECT_EQ(
      read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject),
                          server->playingProcessPID()),
      process);
}

TEST_P(AudioHardwareContract, valueOfAnotherTypeIsRefused) {
  const AudioObjectID device = server->outputDevice();
  EXPECT_NE(
      hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyNominalSampleRate), std::string("48000")),
      noErr);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize), 256.0), noErr);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyBufferFrameSize), 0U), noErr);
}

TEST_P(AudioHardwareContract, descriptionsCannotBeWritten) {
  const AudioObjectID device = server->outputDevice();
  const std::string uid = uidOf(device);
  EXPECT_NE(hardware.setPropertyData(device, globalAddress(kAudioDevicePropertyDeviceUID), std::string("other")),
            noErr);
  EXPECT_EQ(uidOf(device), uid);
}

// Devices come and go.

TEST_P(AudioHardwareContract, replacedDeviceGetsANewID) {
  const std::string uid = "contract.device";
  std::set<AudioObjectID> ids;
  for (int round = 0; round < 3; ++round) {
    server->plug(uid);
    ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID(uid) != kAudioObjectUnknown; }));
    const AudioObjectID id = deviceWithUID(uid);
    EXPECT_TRUE(ids.insert(id).second) << "an ID was reused";
    server->unplug(uid);
    ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID(uid) == kAudioObjectUnknown; }));
    expectUnreadable(id, globalAddress(kAudioDevicePropertyDeviceUID));
  }
}

TEST_P(AudioHardwareContract, deviceListListenerIsCalledThroughItsQueue) {
  auto calls = std::make_shared<std::atomic<int>>(0);
  ASSERT_EQ(hardware.addPropertyListener(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyDevices),
                                         server->queue(), [calls] { ++*calls; }),
            noErr);
  server->plug("contract.device");
  EXPECT_TRUE(server->waitUntil([&] { return *calls >= 1; }));
  ASSERT_TRUE(server->waitUntil([&] { return deviceWithUID("contract.device") != kAudioObjectUnknown; }));
  const int before = *calls;
  server->unplug("contract.device");
  EXPECT_TRUE(server->waitUntil([&] { return *calls > before; }));
}

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

// The output unit.

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

}  // namespace brindlemux::test
