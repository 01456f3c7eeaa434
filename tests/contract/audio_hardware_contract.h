#pragma once

#include <atomic>
#include <gtest/gtest.h>

#include "contract/audio_hardware_under_test.h"
#include "support/hardware_client.h"

// What every implementation of AudioHardware must do, whatever stands behind it. The tests stand in the files that
// `contract` lists in CMakeLists.txt; a test program is built from them and from one file that instantiates
// AudioHardwareContract with the factory of its implementation.

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

}  // namespace brindlemux::test
