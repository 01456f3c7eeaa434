#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <pipewire/impl.h>
#include <string>
#include <thread>

#include "model/driver_payload.h"
#include "platform/discovery.h"
#include "platform/driver_config.h"
#include "platform/pipewire/pipewire_audio_hardware.h"
#include "platform/pipewire/playback_streams.h"
#include "platform/pipewire/port_linker.h"
#include "platform/pipewire/server_connection.h"
#include "platform/pipewire/server_fixture.h"
#include "support/hardware_client.h"
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
    // Asks without a pause: the successor's ports come within milliseconds, while the write is under way.
    std::atomic<bool> isOver = false;
    int absences = 0;
    std::thread reader([&] {
      while (!isOver) {
        if (device(virtualUID) == kAudioObjectUnknown) ++absences;
      }
    });
    EXPECT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = count}}));
    EXPECT_TRUE(waitUntil([&] { return hasChannels(static_cast<std::size_t>(count)); })) << server_.logs();
    isOver = true;
    reader.join();
    EXPECT_EQ(absences, 0) << "on the way to " << count << " channels";
  }
}

TEST_F(PipeWireServerWithDriver, aChangeOfChannelsIsDoneWhenItsWriteReturns) {
  DriverConfig driver(*hardware_);
  ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = 2}}));
  ASSERT_TRUE(waitUntil([&] { return device(virtualUID) != kAudioObjectUnknown; })) << server_.logs();
  for (const std::int64_t count : {6, 4, 16, 2}) {
    const AudioObjectID before = device(virtualUID);
    ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = count}}));
    // A busy machine may take longer than the program waits.
    EXPECT_TRUE(waitUntil([&] { return device(virtualUID) != before; })) << server_.logs();
    EXPECT_EQ(channels(virtualUID, kAudioObjectPropertyScopeInput), static_cast<std::size_t>(count));
    EXPECT_EQ(channels(virtualUID, kAudioObjectPropertyScopeOutput), static_cast<std::size_t>(count));
  }
}

TEST_F(PipeWireServerWithDriver, theIDOfADeviceThatChangedItsChannelsStandsForItsSuccessor) {
  DriverConfig driver(*hardware_);
  ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = 8}}));
  ASSERT_TRUE(waitUntil([&] { return device(virtualUID) != kAudioObjectUnknown; })) << server_.logs();
  const AudioObjectID former = device(virtualUID);
  const std::uint32_t frames = 512;
  EXPECT_EQ(hardware_->setPropertyData(former, globalAddress(kAudioDevicePropertyBufferFrameSize), frames), noErr);
  ASSERT_TRUE(driver.writeDevices({{.uid = virtualUID, .name = "Device", .channels = 4}}));
  ASSERT_TRUE(waitUntil([&] { return device(virtualUID) != former; })) << server_.logs();
  // The former nodes go a moment after that.
  ASSERT_TRUE(waitUntil([&] { return ServerDump(server_).nodesNamed(virtualUID).size() == 1; })) << server_.logs();

  const Discovery discovery(*hardware_, hardware_->runningApplications());
  EXPECT_GT(discovery.nominalSampleRate(former), 0);
  EXPECT_EQ(discovery.deviceChannelCount(former, kAudioObjectPropertyScopeInput), 4);
  EXPECT_EQ(read<std::uint32_t>(former, globalAddress(kAudioDevicePropertyBufferFrameSize)), frames);
  const auto isLooped = [this] {
    const ServerDump dump(server_);
    const auto source = dump.node(std::string(virtualUID) + ".source");
    const auto input = dump.node(std::string("brindlemux.input.") + virtualUID);
    return source && input && dump.linkCount(*source, *input) == 4;
  };
  AudioDeviceIOProcID procedure = 0;
  ASSERT_EQ(hardware_->createIOProc(
                former, "test", [](AudioBufferList) {}, procedure),
            noErr);
  ASSERT_EQ(hardware_->startDevice(former, procedure), noErr);
  EXPECT_TRUE(waitUntil(isLooped)) << server_.logs();
  EXPECT_EQ(hardware_->destroyIOProc(former, procedure), noErr);

  ASSERT_TRUE(driver.writeDevices({}));
  EXPECT_TRUE(waitUntil([&] { return device(virtualUID) == kAudioObjectUnknown; })) << server_.logs();
  EXPECT_EQ(hardware_->createIOProc(
                former, "test", [](AudioBufferList) {}, procedure),
            kAudioHardwareBadDeviceError);
}

#endif

/// A driver that takes its time between its coming and its list.
class SlowDriver final : private ServerConnection::Delegate {
 public:
  SlowDriver() { connection_.start(); }
  ~SlowDriver() override { connection_.stop(); }
  SlowDriver(const SlowDriver&) = delete;
  SlowDriver& operator=(const SlowDriver&) = delete;

  void showList() {
    const ServerConnection::Lock guard(connection_);
    pw_impl_metadata_set_property(metadata_, PW_ID_CORE, driverPropertyKey.data(), "Spa:String:JSON",
                                  R"({"devices":[]})");
  }

 private:
  void serverConnected(pw_core* core) override {
    pw_context* const context = pw_core_get_context(core);
    pw_context_load_module(context, "libpipewire-module-metadata", nullptr, nullptr);
    metadata_ = pw_context_create_metadata(context, driverBundleID.data(), nullptr, 0);
    const std::string name(driverBundleID);
    const spa_dict_item item = {PW_KEY_METADATA_NAME, name.c_str()};
    const spa_dict properties = {.flags = 0, .n_items = 1, .items = &item};
    proxy_ = pw_core_export(core, PW_TYPE_INTERFACE_Metadata, &properties,
                            pw_impl_metadata_get_implementation(metadata_), 0);
  }
  void serverDisconnected() override {
    pw_proxy_destroy(proxy_);
    pw_impl_metadata_destroy(metadata_);
  }
  void serverUpdated() override {}

  pw_impl_metadata* metadata_ = nullptr;
  pw_proxy* proxy_ = nullptr;
  ServerConnection connection_{*this};
};

TEST_F(PipeWireServer, aDriverIsThereOnceItHasShownItsList) {
  SlowDriver driver;
  const auto isShown = [this] {
    return server_.run({"pw-cli", "ls", "Metadata"}).output.find(driverBundleID) != std::string::npos;
  };
  ASSERT_TRUE(waitUntil(isShown)) << server_.logs();
  // Whatever the server has told everybody by now has reached the program when the next device has.
  ASSERT_EQ(server_.run({"pactl", "load-module", "module-null-sink", "sink_name=later"}).status, 0);
  ASSERT_TRUE(waitUntil([&] { return device("later") != kAudioObjectUnknown; })) << server_.logs();
  const DriverConfig config(*hardware_);
  EXPECT_EQ(config.pluginObjectID(), std::nullopt);
  driver.showList();
  EXPECT_TRUE(waitUntil([&] { return config.pluginObjectID().has_value(); })) << server_.logs();
  EXPECT_TRUE(config.readDevices().has_value());
}

TEST_F(PipeWireServer, aNodeSeesNoBlockLongerThanWhatItAsksFor) {
  // What plays already has blocks of 1024 frames or 2048.
  const auto player = server_.launch({"paplay", writeTone().string()});
  ASSERT_TRUE(waitUntil([&] {
    const ServerDump dump(server_);
    const auto node = dump.node("paplay");
    return node && std::ranges::any_of(dump.links(), [&](const auto& link) { return link.outputNode == node->id; });
  })) << server_.logs();

  constexpr std::uint32_t frames = 64;
  ASSERT_EQ(hardware_->setPropertyData(device("mic"), globalAddress(kAudioDevicePropertyBufferFrameSize), frames),
            noErr);
  for (int round = 0; round < 40; ++round) {
    std::atomic<int> captured = 0;
    std::atomic<std::uint32_t> longest = 0;
    // Captures only: what an output drops after cycles that it was left out of looks like a longer block.
    const auto measure = [&longest](AudioBufferList input) {
      longest = std::max<std::uint32_t>(longest, input.front().byteSize / std::uint32_t{sizeof(float)});
    };
    const auto capture = [&](AudioBufferList input) {
      measure(input);
      ++captured;
    };
    const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, measure, frames);
    const AudioDeviceIOProcID procedure = startProc(*hardware_, device("mic"), capture);
    EXPECT_TRUE(waitUntil([&] { return captured > 10 && *tap.cycles > 10; })) << server_.logs();
    EXPECT_EQ(longest, frames) << "round " << round << ", at the begin";
    EXPECT_EQ(hardware_->destroyIOProc(device("mic"), procedure), noErr);
    // The graph may lose its driver with it.
    const int before = *tap.cycles;
    EXPECT_TRUE(waitUntil([&] { return *tap.cycles > before + 20; })) << server_.logs();
    EXPECT_EQ(longest, frames) << "round " << round << ", after the microphone";
    EXPECT_EQ(hardware_->destroyIOProc(tap.aggregate, tap.procedure), noErr);
    // Without them the server goes back to those.
    EXPECT_TRUE(waitUntil([&] {
      const ServerDump dump(server_);
      return !dump.node("brindlemux.tap") && !dump.node("brindlemux.input.mic");
    })) << server_.logs();
  }
}

TEST_F(PipeWireServer, aCrowdOfStreamsIsTappedUpToWhatAPortTakes) {
  const RunningTap tap = startTap(*hardware_);
  const auto tapLinks = [this] {
    const ServerDump dump(server_);
    const auto node = dump.node("brindlemux.tap");
    if (!node) return std::ptrdiff_t{-1};
    return std::ranges::count_if(dump.links(), [&](const auto& link) { return link.inputNode == node->id; });
  };
  // Hundreds of links, one after the other.
  const auto become = [&](std::ptrdiff_t links) {
    return waitUntil([&] { return tapLinks() == links; }, std::chrono::seconds(25));
  };
  constexpr auto most = static_cast<std::ptrdiff_t>(mostLinksPerInput);
  // More than the library mixes into one port, left and right.
  PlaybackStreams streams(140);
  EXPECT_TRUE(become(2 * most)) << tapLinks();
  // 70 and 100 more, of which those that were left out find room.
  streams.keepFirst(70);
  EXPECT_TRUE(become(2 * 70)) << tapLinks();
  {
    const PlaybackStreams others(100);
    EXPECT_TRUE(become(2 * most)) << tapLinks();
    streams.keepFirst(10);
    EXPECT_TRUE(become(2 * 110)) << tapLinks();
  }
  EXPECT_TRUE(become(2 * 10)) << tapLinks();
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
      if (hardware_->propertyData(latest, globalAddress(kAudioTapPropertyFormat), {}, value) == noErr) ++found;
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

TEST_F(PipeWireServer, aTapThatIsStartedWithoutAServerRunsWithTheNext) {
  const RunningTap tap = startTap(*hardware_);
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
  EXPECT_TRUE(server_.stop());
  ASSERT_TRUE(waitUntil([&] { return device("speakers") == kAudioObjectUnknown; }));
  EXPECT_EQ(hardware_->startDevice(tap.aggregate, tap.procedure), noErr);
  server_.start();
  const auto player = server_.launch({"paplay", writeTone().string()});
  EXPECT_TRUE(waitUntil([&] { return *tap.sounding > 0; })) << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

}  // namespace
}  // namespace brindlemux::test
