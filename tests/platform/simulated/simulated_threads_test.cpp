#include "platform/simulated/simulated_threads.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <set>
#include <thread>

#include "support/hardware_client.h"
#include "support/simulated_scene.h"
#include "support/wait_until.h"

namespace brindlemux {
namespace {

using test::inputDevice;
using test::outputDevice;
using test::waitUntil;

/// Counts its calls and notes the threads that they came on.
struct Counter {
  std::atomic<int> calls = 0;
  std::mutex lock;
  std::set<std::thread::id> threads;

  void call() {
    {
      const std::lock_guard guard(lock);
      threads.insert(std::this_thread::get_id());
    }
    ++calls;
  }
};

class SimulatedThreadsTest : public testing::TestWithParam<SimulatedThreads::Model>, public test::SimulatedScene {
 protected:
  const AudioObjectID microphone = hardware.addDevice(inputDevice("Microphone"));
  const AudioObjectID speakers = hardware.addDevice(outputDevice("Speakers"));
  Counter captured;
  Counter rendered;

  AudioDeviceIOProcID capture() {
    return test::startProc(hardware, microphone, [this](AudioBufferList) { captured.call(); });
  }
  AudioUnitID render() {
    return test::startUnit(hardware, speakers, 2, [this](AudioBufferList, std::uint32_t) {
      rendered.call();
      return noErr;
    });
  }
};

TEST_P(SimulatedThreadsTest, callbacksRunOnThreadsOfTheServer) {
  capture();
  render();
  hardware.startThreads(GetParam());
  EXPECT_TRUE(waitUntil([this] { return captured.calls > 20 && rendered.calls > 20; }));
  hardware.stopThreads();
  std::set<std::thread::id> all = captured.threads;
  all.merge(rendered.threads);
  EXPECT_FALSE(all.contains(std::this_thread::get_id()));
  EXPECT_EQ(captured.threads.size(), 1U);
  EXPECT_EQ(all.size(), GetParam() == SimulatedThreads::Model::one ? 1U : 2U);
}

// Blocks of 512 frames on both devices: neither gets ahead of the other by more than a step.
TEST_P(SimulatedThreadsTest, devicesKeepPace) {
  capture();
  render();
  hardware.startThreads(GetParam());
  EXPECT_TRUE(waitUntil([this] { return captured.calls > 100; }));
  hardware.stopThreads();
  EXPECT_NEAR(captured.calls, rendered.calls, 1);
  EXPECT_EQ(captured.calls, hardware.now() / 512);
}

TEST_P(SimulatedThreadsTest, whatIsStoppedIsCalledNoMore) {
  hardware.startThreads(GetParam());
  for (int round = 0; round < 20; ++round) {
    const AudioDeviceIOProcID procedure = capture();
    const AudioUnitID unit = render();
    const int capturedBefore = captured.calls;
    const int renderedBefore = rendered.calls;
    ASSERT_TRUE(waitUntil([&] { return captured.calls > capturedBefore + 1 && rendered.calls > renderedBefore + 1; }));
    ASSERT_EQ(hardware.stopDevice(microphone, procedure), noErr);
    const int capturedAfter = captured.calls;
    ASSERT_EQ(hardware.stopOutputUnit(unit), noErr);
    const int renderedAfter = rendered.calls;
    const std::int64_t now = hardware.now();
    ASSERT_TRUE(waitUntil([&] { return hardware.now() > now + 2048; }));
    ASSERT_EQ(captured.calls, capturedAfter);
    ASSERT_EQ(rendered.calls, renderedAfter);
    ASSERT_EQ(hardware.destroyIOProc(microphone, procedure), noErr);
    ASSERT_EQ(hardware.disposeAudioUnit(unit), noErr);
  }
}

TEST_P(SimulatedThreadsTest, deviceMayGoAndComeWhileItRuns) {
  hardware.startThreads(GetParam());
  AudioObjectID device = microphone;
  for (int round = 0; round < 20; ++round) {
    test::startProc(hardware, device, [this](AudioBufferList) { captured.call(); });
    const int before = captured.calls;
    ASSERT_TRUE(waitUntil([&] { return captured.calls > before + 1; }));
    hardware.removeDevice(device);
    const int after = captured.calls;
    device = hardware.addDevice(inputDevice("Microphone"));
    ASSERT_EQ(captured.calls, after);
  }
}

TEST_P(SimulatedThreadsTest, timeGoesOnFromWhereThreadsLeftIt) {
  capture();
  hardware.advance(512);
  hardware.startThreads(GetParam());
  EXPECT_TRUE(waitUntil([this] { return captured.calls > 3; }));
  hardware.stopThreads();
  const std::int64_t now = hardware.now();
  const int calls = captured.calls;
  hardware.advance(5120);
  EXPECT_EQ(hardware.now(), now + 5120);
  EXPECT_EQ(captured.calls, calls + 10);
}

INSTANTIATE_TEST_SUITE_P(Models, SimulatedThreadsTest,
                         testing::Values(SimulatedThreads::Model::one, SimulatedThreads::Model::onePerDevice),
                         [](const auto& instance) {
                           return instance.param == SimulatedThreads::Model::one ? "one" : "onePerDevice";
                         });

}  // namespace
}  // namespace brindlemux
