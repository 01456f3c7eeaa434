#pragma once

#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_hardware.h"

// What a program does with an audio server, in as few calls as it takes.

namespace brindlemux::test {

/// Interleaved 32-bit floats.
inline StreamFormat interleavedFormat(double sampleRateHz, std::uint32_t channels) {
  StreamFormat format;
  format.sampleRate = sampleRateHz;
  format.formatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked;
  format.bytesPerPacket = format.bytesPerFrame = 4 * channels;
  format.framesPerPacket = 1;
  format.channelsPerFrame = channels;
  format.bitsPerChannel = 32;
  return format;
}

/// Starts an I/O procedure on a device.
inline AudioDeviceIOProcID startProc(AudioHardware& hardware, AudioObjectID device, IOBlock block) {
  AudioDeviceIOProcID procedure = 0;
  EXPECT_EQ(hardware.createIOProc(device, "test", std::move(block), procedure), noErr);
  EXPECT_EQ(hardware.startDevice(device, procedure), noErr);
  return procedure;
}

/// Starts an I/O procedure that appends what it is given, buffer by buffer.
inline AudioDeviceIOProcID startCapture(AudioHardware& hardware, AudioObjectID device,
                                        std::vector<std::vector<float>>& buffers) {
  return startProc(hardware, device, [&buffers](AudioBufferList input) {
    buffers.resize(input.size());
    for (std::size_t i = 0; i < input.size(); ++i) {
      buffers[i].insert(buffers[i].end(), input[i].data, input[i].data + input[i].byteSize / sizeof(float));
    }
  });
}

/// Starts an output unit of `channels` interleaved channels.
inline AudioUnitID startUnit(AudioHardware& hardware, AudioObjectID device, std::uint32_t channels,
                             const RenderCallback& callback) {
  AudioUnitID unit = 0;
  const AudioComponentID component =
      hardware.findComponent(kAudioUnitType_Output, kAudioUnitSubType_HALOutput, kAudioUnitManufacturer_Apple);
  EXPECT_EQ(hardware.createAudioUnit(component, unit), noErr);
  EXPECT_EQ(
      hardware.setAudioUnitProperty(unit, kAudioOutputUnitProperty_CurrentDevice, AudioUnitScope::global, 0, device),
      noErr);
  EXPECT_EQ(hardware.setAudioUnitProperty(unit, kAudioUnitProperty_StreamFormat, AudioUnitScope::input, 0,
                                          interleavedFormat(48000, channels)),
            noErr);
  EXPECT_EQ(
      hardware.setAudioUnitProperty(unit, kAudioUnitProperty_SetRenderCallback, AudioUnitScope::input, 0, callback),
      noErr);
  EXPECT_EQ(hardware.initializeAudioUnit(unit), noErr);
  EXPECT_EQ(hardware.startOutputUnit(unit), noErr);
  return unit;
}

/// Starts an output unit that plays the same value on every channel.
inline AudioUnitID startConstant(AudioHardware& hardware, AudioObjectID device, std::uint32_t channels, float value) {
  return startUnit(hardware, device, channels, [value](AudioBufferList output, std::uint32_t) {
    std::fill_n(output.front().data, output.front().byteSize / sizeof(float), value);
    return noErr;
  });
}

/// Makes a tap and the aggregate device that plays it on the clock of "Speakers".
inline AudioObjectID addTapAggregate(AudioHardware& hardware, const TapDescription& description) {
  AudioObjectID tap = 0;
  EXPECT_EQ(hardware.createProcessTap(description, tap), noErr);
  const std::string speakers = "Speakers";
  AudioObjectID aggregate = 0;
  EXPECT_EQ(hardware.createAggregateDevice({{"name", std::string("Aggregate")},
                                            {"uid", "aggregate " + description.uuid.string()},
                                            {"master", speakers},
                                            {"subdevices", DictionaryArray{Dictionary{{"uid", speakers}}}},
                                            {"taps", DictionaryArray{Dictionary{{"uid", description.uuid.string()}}}}},
                                           aggregate),
            noErr);
  return aggregate;
}

}  // namespace brindlemux::test
