// A whole engine whose captures and outputs run on threads of the server's, for the sanitizers above all.
#include <atomic>
#include <chrono>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

#include "engine/sounding_engine.h"
#include "support/hardware_client.h"
#include "support/wait_until.h"

namespace brindlemux {
namespace {

using test::constantSignal;
using test::framesOf;
using test::inputDevice;
using test::lastNumberedFrame;
using test::loopbackDevice;
using test::numbered;
using test::outputDevice;
using test::playingProcess;
using test::waitUntil;
using testing::IsEmpty;

constexpr auto patience = std::chrono::seconds(60);

class DeviceEngineThreads : public testing::TestWithParam<SimulatedThreads::Model>, public test::RoutedEngine {
 protected:
  void SetUp() override {
    hardware.setCallbackRunner([this](const std::function<void()>& callback) {
      if (test::countedInRealtime(callback).allocations != 0) ++allocatingCallbacks;
    });
  }
  void TearDown() override {
    hardware.stopThreads();
    EXPECT_EQ(allocatingCallbacks, 0);
  }

  bool waitForTime(std::int64_t end) {
    return waitUntil([this, end] { return hardware.now() >= end; }, patience);
  }

  /// Whether the device's newest sample becomes this one.
  bool waitForSound(AudioObjectID device, float sample) {
    return waitUntil(
        [&] {
          const auto output = hardware.takeOutput(device);
          return !output.empty() && !output[0].empty() && output[0].back() == sample;
        },
        patience);
  }

  std::atomic<int> allocatingCallbacks = 0;
};

/// The frames of silence after the first sound, where each sounding frame must follow the one before.
std::int64_t silenceBetween(const std::vector<std::int64_t>& frames) {
  std::int64_t last = test::silence;
  std::int64_t silent = 0;
  for (const std::int64_t frame : frames) {
    if (frame == test::silence) {
      silent += last == test::silence ? 0 : 1;
      continue;
    }
    if (last != test::silence && frame != (last + 1) % lastNumberedFrame) {
      ADD_FAILURE() << "frame " << frame << " follows " << last;
      return silent;
    }
    last = frame;
  }
  return silent;
}

// The numbers of the frames begin again before they reach the limiter. Of two devices on threads of their own either
// may come first, at any time, so each reader may have to wait for one block, once; it never has to skip. The monitor
// hears the device's wait and then its own.
TEST_P(DeviceEngineThreads, noFrameIsLostOrRepeated) {
  const AudioObjectID device = hardware.addDevice(loopbackDevice(virtualUID));
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  hardware.addDevice(inputDevice("Microphone", 2, [](std::int64_t frame, std::uint32_t channel) {
    return numbered(frame % lastNumberedFrame, channel);
  }));
  addMic(1);
  addMonitor(2);
  hardware.startThreads(GetParam());
  reconcile();
  std::vector<std::int64_t> played;
  std::vector<std::int64_t> monitored;
  const auto append = [this](AudioObjectID from, std::vector<std::int64_t>& to) {
    const auto output = hardware.takeOutput(from);
    if (output.empty()) return;
    const auto frames = framesOf(output[0], 0);
    to.insert(to.end(), frames.begin(), frames.end());
  };
  EXPECT_TRUE(waitUntil(
      [&] {
        reconcile();
        engine.meterSnapshot();
        append(device, played);
        append(speakers, monitored);
        return monitored.size() > 96000;
      },
      patience));
  EXPECT_LE(silenceBetween(played), 256);
  EXPECT_LE(silenceBetween(monitored), 512);
  EXPECT_EQ(engine.lastError, std::nullopt);
}

// Edits of every kind while everything runs; then what the graph asks for sounds: 0.25 from the microphone, 0.125 from
// the application, and the same on a monitor.
TEST_P(DeviceEngineThreads, editsMeetRunningCallbacks) {
  AudioObjectID device = hardware.addDevice(loopbackDevice(virtualUID));
  AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  AudioObjectID microphone = hardware.addDevice(inputDevice("Microphone", 2, constantSignal(0.25F)));
  AudioObjectID player = hardware.addProcess(playingProcess(100, "com.example.Player", constantSignal(0.125F)));
  addMic(1);
  addApp(2);
  addMonitor(3);
  addMonitor(4);
  const DeviceGraph wanted = graph;
  hardware.startThreads(GetParam());
  std::mt19937 random(11);
  for (int round = 0; round < 300; ++round) {
    switch (random() % 10) {
      case 0:
        graph.enabled = !graph.enabled;
        break;
      case 1:
        graph.sources[random() % 2].enabled = random() % 2 == 0;
        break;
      case 2:
        graph.monitors[random() % 2].enabled = random() % 2 == 0;
        break;
      case 3:
        graph.wires = random() % 2 == 0 ? decltype(graph.wires){} : wanted.wires;
        break;
      case 4:
        graph.masterGain = static_cast<float>(random() % 16) / 16.0F;
        break;
      case 5:
        hardware.removeDevice(device);
        device = hardware.addDevice(loopbackDevice(virtualUID));
        break;
      case 6:
        hardware.removeDevice(speakers);
        speakers = hardware.addDevice(outputDevice("Speakers"));
        break;
      case 7:
        hardware.removeDevice(microphone);
        microphone = hardware.addDevice(inputDevice("Microphone", 2, constantSignal(0.25F)));
        break;
      case 8:
        hardware.removeProcess(player);
        player = hardware.addProcess(
            playingProcess(static_cast<std::int32_t>(200 + round), "com.example.Player", constantSignal(0.125F)));
        break;
      default:
        deviceChannels = 2 + 2 * static_cast<std::int64_t>(random() % 2);
        break;
    }
    reconcile();
    engine.meterSnapshot();
    if (round % 8 == 0) {
      ASSERT_TRUE(waitForTime(hardware.now() + 1024)) << round;
    }
  }
  graph = wanted;
  deviceChannels = 2;
  reconcile();
  EXPECT_EQ(engine.lastError, std::nullopt);
  EXPECT_TRUE(waitForSound(device, 0.375F));
  EXPECT_TRUE(waitForSound(speakers, 0.75F));  // both monitors play into it
  engine.stopAll();
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

// Nothing of an engine is called once it is gone.
TEST_P(DeviceEngineThreads, engineMayGoWhileItsCallbacksRun) {
  hardware.addDevice(loopbackDevice(virtualUID));
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  hardware.addDevice(inputDevice("Microphone", 2, constantSignal(0.25F)));
  addMic(1);
  addSource(2, SystemAudioSource{});
  addMonitor(3);
  hardware.startThreads(GetParam());
  for (int round = 0; round < 10; ++round) {
    DeviceEngine shortLived(virtualUID, graph, services);
    shortLived.reconcile(2, {}, discovery.listAudioDevices());
    ASSERT_TRUE(waitForSound(speakers, 0.25F)) << round;
  }
  EXPECT_THAT(hardware.liveResources(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Models, DeviceEngineThreads,
                         testing::Values(SimulatedThreads::Model::one, SimulatedThreads::Model::onePerDevice),
                         [](const auto& instance) {
                           return instance.param == SimulatedThreads::Model::one ? "one" : "onePerDevice";
                         });

}  // namespace
}  // namespace brindlemux
