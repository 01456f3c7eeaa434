#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/pipewire/pipewire_audio_hardware.h"
#include "support/private_server.h"
#include "support/sine_tone.h"
#include "support/wav_file.h"

namespace brindlemux::test {

inline PrivateServerOptions serverOptions(PrivateServerOptions::Driver driver) {
  PrivateServerOptions options;
  options.driver = driver;
  options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"}};
  options.sources = {{.name = "mic", .channels = 2, .description = "Microphone"}};
  return options;
}

/// The hardware on a server.
///
/// Threads: the main thread.
class PipeWireServer : public testing::Test {
 protected:
  explicit PipeWireServer(PrivateServerOptions::Driver driver = PrivateServerOptions::Driver::absent)
      : server_(serverOptions(driver)) {
    server_.adoptEnvironment();
    hardware_ = std::make_unique<PipeWireAudioHardware>();
  }

  template <typename Value>
  Value read(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& qualifier = {}) {
    PropertyValue value;
    if (hardware_->propertyData(object, address, qualifier, value) != noErr) return {};
    const auto* const typed = std::get_if<Value>(&value);
    return typed == nullptr ? Value{} : *typed;
  }
  AudioObjectID device(const std::string& uid) {
    return read<AudioObjectID>(kAudioObjectSystemObject, globalAddress(kAudioHardwarePropertyTranslateUIDToDevice),
                               uid);
  }
  std::size_t channels(const std::string& uid, FourCharCode scope) {
    return read<BufferLayout>(device(uid), {kAudioDevicePropertyStreamConfiguration, scope, 0})
        .channelsPerBuffer.size();
  }
  std::filesystem::path writeTone() {
    auto path = server_.folder() / "tone.wav";
    writeWav(path, {.sampleRateHz = 48000, .channels = {sineTone(48000 * 60, 1000, 0.5, 48000)}});
    return path;
  }

  PrivateServer server_;
  std::unique_ptr<PipeWireAudioHardware> hardware_;
};

/// A tap at work, and what its procedure has met.
struct RunningTap {
  AudioObjectID tap = kAudioObjectUnknown;
  AudioObjectID aggregate = kAudioObjectUnknown;
  AudioDeviceIOProcID procedure = 0;
  std::shared_ptr<std::atomic<int>> cycles = std::make_shared<std::atomic<int>>(0);
  /// The cycles that did not begin with a silent frame.
  std::shared_ptr<std::atomic<int>> sounding = std::make_shared<std::atomic<int>>(0);
};

/// Starts a tap whose procedure counts, and does what `also` does. It asks for blocks of so many frames, or for those
/// that taps ask for where that is 0.
///
/// A tap asks for shorter blocks than the server's own, and pw-play at times falls silent for as long as the blocks
/// have changed under it: who plays to such a tap is paplay.
inline RunningTap startTap(AudioHardware& hardware, TapDescription description, const IOBlock& also = {},
                           std::uint32_t blockFrames = 0) {
  static std::uint8_t tapCount = 0;
  description.uuid.bytes[15] = ++tapCount;
  description.name = "All";
  RunningTap running;
  EXPECT_EQ(hardware.createProcessTap(description, running.tap), noErr);
  const Dictionary aggregate = {
      {"uid", std::string("com.brindlemux.tap.test")},
      {"master", std::string("speakers")},
      {"taps", DictionaryArray{Dictionary{{"uid", description.uuid.string()}}}},
  };
  EXPECT_EQ(hardware.createAggregateDevice(aggregate, running.aggregate), noErr);
  const auto blockSize = globalAddress(kAudioDevicePropertyBufferFrameSize);
  if (blockFrames > 0) {
    EXPECT_EQ(hardware.setPropertyData(running.aggregate, blockSize, blockFrames), noErr);
  }
  const auto count = [cycles = running.cycles, sounding = running.sounding, also](AudioBufferList input) {
    ++*cycles;
    if (input.front().data[0] != 0.0F) ++*sounding;
    if (also) also(input);
  };
  EXPECT_EQ(hardware.createIOProc(running.aggregate, "test", count, running.procedure), noErr);
  EXPECT_EQ(hardware.startDevice(running.aggregate, running.procedure), noErr);
  return running;
}

/// A tap of all system audio.
inline RunningTap startTap(AudioHardware& hardware) {
  return startTap(hardware, {.selection = TapDescription::Selection::allExcept});
}

}  // namespace brindlemux::test
