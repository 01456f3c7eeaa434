// What an engine counts, in virtual time.
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "engine/engine_counters.h"
#include "engine/sounding_engine.h"
#include "support/hardware_client.h"

namespace brindlemux {
namespace {

using test::inputDevice;
using testing::AllOf;
using testing::Ge;
using testing::Le;

TEST(EngineCounters, keepTheLongestOfAllThreads) {
  EngineCounters counters;
  std::vector<std::thread> threads;
  for (std::int64_t first = 0; first < 4; ++first) {
    threads.emplace_back([&counters, first] {
      for (std::int64_t i = 0; i < 1000; ++i)
        counters.noteRender(std::chrono::nanoseconds(4 * ((i * 7) % 1000) + first));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counters.statistics().renderedBlocks, 4000);
  // 4 * 999 + 3
  EXPECT_EQ(counters.statistics().worstRender, std::chrono::nanoseconds(3999));
  counters.reset();
  EXPECT_EQ(counters.statistics(), EngineStatistics{});
}

TEST(EngineStatistics, areToldInWords) {
  EXPECT_EQ(text({.renderedBlocks = 48000,
                  .worstRender = std::chrono::nanoseconds(21456),
                  .repositionings = 1,
                  .underruns = 20,
                  .droppedBlocks = 3}),
            "48000 blocks rendered, the longest in 0.021 ms; 1 repositionings, 20 underruns, 3 blocks dropped");
}

class DeviceEngineStatistics : public test::SoundingEngine {
 protected:
  /// An input that runs that much too fast.
  void addDriftingMicrophone(double driftPPM) {
    SimulatedDevice device = inputDevice("Microphone", 2, test::numbered);
    device.driftPPM = driftPPM;
    microphone = hardware.addDevice(device);
  }
};

TEST_F(DeviceEngineStatistics, countTheBlocksOfTheDeviceAndItsMonitors) {
  EXPECT_EQ(engine.statistics(), EngineStatistics{});
  addMicrophone();
  addVirtual();
  addSpeakers();
  addMic(1);
  addMonitor(2);
  reconcile();
  hardware.advance(48000);
  const EngineStatistics statistics = engine.statistics();
  // 187 blocks of 256 frames each.
  EXPECT_EQ(statistics.renderedBlocks, 2 * (48000 / 256));
  EXPECT_GT(statistics.worstRender.count(), 0);
  EXPECT_EQ(statistics.repositionings, 0);
  EXPECT_EQ(statistics.underruns, 0);
  EXPECT_EQ(statistics.droppedBlocks, 0);
}

// A source that runs 1% fast gains a block of 256 frames on its reader every 25600 frames; at the twelfth, the reader
// is moved, once in nine seconds.
TEST_F(DeviceEngineStatistics, countTheReaderOfAFastSourceWhenItIsMoved) {
  addDriftingMicrophone(10000);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(9 * 48000);
  EXPECT_EQ(engine.statistics().repositionings, 1);
  EXPECT_EQ(engine.statistics().underruns, 0);
}

// A source that runs 1% slow lacks a block every 25600 frames: 432000 / 25600 = 16.9.
TEST_F(DeviceEngineStatistics, countTheBlocksThatASlowSourceLacks) {
  addDriftingMicrophone(-10000);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(9 * 48000);
  EXPECT_THAT(engine.statistics().underruns, AllOf(Ge(16), Le(17)));
  EXPECT_EQ(engine.statistics().repositionings, 0);
}

TEST_F(DeviceEngineStatistics, outliveWhatCountedThemUntilTheNextStart) {
  addDriftingMicrophone(-10000);
  addVirtual();
  addMic(1);
  reconcile();
  hardware.advance(9 * 48000);
  const EngineStatistics before = engine.statistics();
  ASSERT_GT(before.underruns, 0);
  // The source goes, and with it its capture, its ring and the device's output.
  graph.sources.clear();
  graph.wires.clear();
  reconcile();
  EXPECT_EQ(engine.statistics(), before);
  engine.stopAll();
  EXPECT_EQ(engine.statistics(), before);
  reconcile();
  EXPECT_EQ(engine.statistics(), EngineStatistics{});
}

}  // namespace
}  // namespace brindlemux
