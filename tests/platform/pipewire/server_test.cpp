#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <thread>

#include "platform/discovery.h"
#include "platform/driver_config.h"
#include "platform/pipewire/pipewire_audio_hardware.h"
#include "platform/pipewire/playback_streams.h"
#include "platform/pipewire/port_linker.h"
#include "platform/pipewire/server_fixture.h"
#include "support/private_server.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

constexpr const char* virtualUID = "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F";

#ifndef __SANITIZE_THREAD__
// A server that is not instrumented cannot load a driver that is built with the thread sanitizer.

class PipeWireServerWithDriver : public PipeWireServer {
 protected:
  PipeWireServerWithDriver() : PipeWireServer(PrivateServerOptions::Driver::loaded) {}
};

TEST_F(PipeWireServerWithDriver, aVirtualDeviceStaysListedWhileItsChannelsChange) {
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

#endif

TEST_F(PipeWireServer, aCrowdOfStreamsIsTappedUpToWhatAPortTakes) {
  const RunningTap tap = startTap(*hardware_);
  const auto tapLinks = [this] {
    const ServerDump dump(server_);
    const auto node = dump.node("brindlemux.tap");
    if (!node) return std::ptrdiff_t{-1};
    return std::ranges::count_if(dump.links(), [&](const auto& link) { return link.inputNode == node->id; });
  };
  constexpr auto most = static_cast<std::ptrdiff_t>(mostLinksPerInput);
  // More than the library mixes into one port, left and right.
  PlaybackStreams streams(140);
  EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2 * most; })) << tapLinks();
  // 70 and 100 more, of which those that were left out find room.
  streams.keepFirst(70);
  EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2 * 70; })) << tapLinks();
  {
    const PlaybackStreams others(100);
    EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2 * most; })) << tapLinks();
    streams.keepFirst(10);
    EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2 * 110; })) << tapLinks();
  }
  EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2 * 10; })) << tapLinks();
  EXPECT_EQ(hardware_->destroyIOProc(tap.aggregate, tap.procedure), noErr);
}

TEST_F(PipeWireServer, applicationsInSandboxesAreToldApartByMoreThanTheirNumbers) {
  const std::string tone = writeTone().string();
  const auto play = [&](const std::string& application) {
    const std::string properties = "PULSE_PROP=application.process.id=2 pipewire.access.portal.app_id=" + application;
    return server_.launch({"env", properties, "paplay", tone});
  };
  const auto first = play("com.example.First");
  const auto second = play("com.example.Second");
  const Discovery discovery(*hardware_, hardware_->runningApplications());
  const auto playing = [&] {
    std::map<std::string, AudioObjectID> objects;
    for (const AudioProcessInfo& process : discovery.listAudioProcesses()) {
      if (process.isPlaying) objects.emplace(process.bundleID.value_or(""), process.id);
    }
    return objects;
  };
  EXPECT_TRUE(waitUntil([&] { return playing().size() == 2; })) << server_.logs();
  const auto objects = playing();
  ASSERT_TRUE(objects.contains("com.example.First") && objects.contains("com.example.Second"));
  EXPECT_NE(objects.at("com.example.First"), objects.at("com.example.Second"));
}

TEST_F(PipeWireServer, propertiesAreReadByOtherThreadsWhileTapsComeAndGo) {
  std::atomic<AudioObjectID> latest = kAudioObjectUnknown;
  std::atomic<bool> isOver = false;
  std::atomic<int> found = 0;
  std::thread reader([&] {
    while (!isOver) {
      PropertyValue value;
      if (hardware_->propertyData(latest, global(kAudioTapPropertyFormat), {}, value) == noErr) ++found;
    }
  });
  for (int round = 0; round < 100; ++round) {
    AudioObjectID tap = kAudioObjectUnknown;
    EXPECT_EQ(hardware_->createProcessTap({}, tap), noErr);
    latest = tap;
    const int before = found;
    EXPECT_TRUE(waitUntil([&] { return found > before; }));
    EXPECT_EQ(hardware_->destroyProcessTap(tap), noErr);
  }
  isOver = true;
  reader.join();
}

TEST_F(PipeWireServer, nothingRunsOnceTheHardwareHasGone) {
  const auto player = server_.launch({"paplay", writeTone().string()});
  const RunningTap tap = startTap(*hardware_);
  ASSERT_TRUE(waitUntil([&] { return *tap.sounding > 0; })) << server_.logs();
  hardware_ = nullptr;
  const int cycles = *tap.cycles;
  hardware_ = std::make_unique<PipeWireAudioHardware>();
  // By the time that this tap has heard ten cycles, the other one would have.
  const RunningTap other = startTap(*hardware_);
  EXPECT_TRUE(waitUntil([&] { return *other.sounding >= 10; })) << server_.logs();
  EXPECT_EQ(*tap.cycles, cycles);
}

TEST_F(PipeWireServer, aTapComesBackWithTheServer) {
  const RunningTap tap = startTap(*hardware_);
  auto player = server_.launch({"paplay", writeTone().string()});
  ASSERT_TRUE(waitUntil([&] { return *tap.sounding > 0; })) << server_.logs();
  const AudioObjectID before = device("speakers");
  player = nullptr;
  EXPECT_TRUE(server_.stop());
  ASSERT_TRUE(waitUntil([&] { return device("speakers") == kAudioObjectUnknown; }));
  server_.start();
  ASSERT_TRUE(waitUntil([&] { return device("speakers") != kAudioObjectUnknown; })) << server_.logs();
  EXPECT_NE(device("speakers"), before);
  const int sounding = *tap.sounding;
  player = server_.launch({"paplay", writeTone().string()});
  EXPECT_TRUE(waitUntil([&] { return *tap.sounding > sounding; })) << server_.logs();
}

}  // namespace
}  // namespace brindlemux::test
