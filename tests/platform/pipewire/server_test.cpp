#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "platform/driver_config.h"
#include "platform/pipewire/pipewire_audio_hardware.h"
#include "support/private_server.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

constexpr AudioObjectPropertyAddress global(FourCharCode selector) {
  return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

PrivateServerOptions serverOptions() {
  PrivateServerOptions options;
  options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"}};
  options.sources = {{.name = "mic", .channels = 2, .description = "Microphone"}};
  return options;
}

/// The hardware on a server with the driver.
///
/// Threads: the main thread.
class PipeWireServer : public testing::Test {
 protected:
  PipeWireServer() : server_(serverOptions()) {
    for (const auto& [name, value] : server_.environment()) setenv(name.c_str(), value.c_str(), 1);
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
    return read<AudioObjectID>(kAudioObjectSystemObject, global(kAudioHardwarePropertyTranslateUIDToDevice), uid);
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

constexpr const char* virtualUID = "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F";

TEST_F(PipeWireServer, aVirtualDeviceStaysListedWhileItsChannelsChange) {
  DriverConfig driver(*hardware_);
  const auto hasChannels = [this](std::size_t count) {
    return channels(virtualUID, kAudioObjectPropertyScopeInput) == count &&
           channels(virtualUID, kAudioObjectPropertyScopeOutput) == count;
  };
  // The driver keeps a device that somebody plays into until its successor has taken over.
  const auto isPlayedAlone = [this] {
    const ServerDump dump(server_);
    const auto device = dump.node(virtualUID);
    const auto player = dump.node("pw-play");
    return device && player && dump.linkCount(*player, *device) > 0;
  };
  ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = 2}}));
  ASSERT_TRUE(waitUntil([&] { return hasChannels(2); })) << server_.logs();
  const auto player = server_.launch({"pw-play", "--target", virtualUID, writeTone().string()});
  for (const std::int64_t count : {6, 4, 16, 2}) {
    ASSERT_TRUE(waitUntil(isPlayedAlone)) << server_.logs();
    ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = count}}));
    int absences = 0;
    // Asks without a pause: the successor's ports come within milliseconds.
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!hasChannels(static_cast<std::size_t>(count)) && std::chrono::steady_clock::now() < end) {
      if (device(virtualUID) == kAudioObjectUnknown) ++absences;
    }
    EXPECT_TRUE(hasChannels(static_cast<std::size_t>(count))) << server_.logs();
    EXPECT_EQ(absences, 0) << "on the way to " << count << " channels";
  }
}

}  // namespace
}  // namespace brindlemux::test
