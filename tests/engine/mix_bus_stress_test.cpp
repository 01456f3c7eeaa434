#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/engine_meter.h"
#include "engine/mix_bus.h"

namespace brindlemux {
namespace {

using test::countedInRealtime;
using test::PlanarBuffers;
using test::RealtimeCounts;

constexpr std::int64_t totalFrames = 400'000;
constexpr std::int64_t maximumWriteFrames = 512;
/// However busy the machine is, the sound lasts for so many edits.
constexpr std::int64_t leastRebuilds = 100;
// Readers stay well within the slack, so that none may be repositioned.
constexpr std::int64_t maximumLagFrames = 1500;

/// Frame n carries n + 1 in units of 2^-20: exact in 32 bits, never zero, and below the limiter's knee.
constexpr float unit = 0x1p-20F;
float numbered(std::int64_t frame) { return static_cast<float>(frame + 1) * unit; }

UUID identifier(std::uint8_t number) {
  UUID id;
  id.bytes[0] = number;
  return id;
}

const UUID numberedSource = identifier(1);
const UUID silentSource = identifier(2);
const UUID firstMonitor = identifier(11);
const UUID secondMonitor = identifier(12);
const UUID passingMonitor = identifier(13);

/// What one render thread hears: output 0 carries the numbers, output 1 the same with a gain that changes between
/// blocks, but never within one.
class Listener {
 public:
  void hear(std::span<const float> numbers, std::span<const float> scaled) {
    float gain = 0;
    bool ended = false;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
      if (numbers[i] == 0.0F) {
        ended = true;
        continue;
      }
      const std::int64_t expected = next_.load(std::memory_order_relaxed);
      if (ended) fail("a gap within a block before frame " + std::to_string(expected));
      if (numbers[i] != numbered(expected)) {
        fail("frame " + std::to_string(expected) + " expected, heard " + std::to_string(numbers[i] / unit - 1));
      }
      if (i == 0) gain = scaled[0] / numbers[0];
      if (scaled[i] != numbers[i] * gain) fail("two plans in one block at frame " + std::to_string(expected));
      next_.store(expected + 1, std::memory_order_release);
    }
  }

  std::int64_t heard() const { return next_.load(std::memory_order_acquire); }
  const std::string& failure() const { return failure_; }

  std::atomic<bool> positioned = false;
  RealtimeCounts counts;

 private:
  void fail(std::string what) {
    if (failure_.empty()) failure_ = std::move(what);
  }

  std::atomic<std::int64_t> next_ = 0;
  std::string failure_;
};

void add(RealtimeCounts& total, const RealtimeCounts& counts) {
  total.allocations += counts.allocations;
  total.frees += counts.frees;
}

TEST(MixBusStress, noFrameIsLostOrRepeatedWhilePlansAreRebuilt) {
  const auto counters = std::make_shared<EngineCounters>();
  const auto ring = [&] { return std::make_shared<SourceRing>(2, captureRingFrames, fastestKernels(), counters); };
  const auto sourceRing = ring();
  const auto silentRing = ring();
  const auto inputRing = ring();

  DeviceGraph graph("device");
  graph.sources = {{.id = numberedSource, .kind = SystemAudioSource{}, .channelGains = {1.0F, 1.0F}}};
  graph.wires = {{.sourceID = numberedSource, .sourceChannel = 0, .outputChannel = 0},
                 {.sourceID = numberedSource, .sourceChannel = 1, .outputChannel = 1},
                 {.sourceID = silentSource, .sourceChannel = 0, .outputChannel = 0}};
  for (const UUID& id : {firstMonitor, secondMonitor}) {
    graph.monitors.push_back({.id = id, .deviceUID = "monitor", .name = "Monitor"});
    for (std::int64_t channel = 0; channel < 2; ++channel) {
      graph.monitorWires.push_back({.outputChannel = channel, .monitorID = id, .monitorChannel = channel});
    }
  }
  const MixBus::Rings rings = {{numberedSource, sourceRing}, {silentSource, silentRing}};

  MixBus bus;
  EngineMeter meter;
  bus.setMonitorInputRing(inputRing);
  bus.rebuildPlans(graph, rings, 2);

  std::atomic<bool> stopped = false;
  Listener device;
  Listener speakers;
  Listener headphones;
  const auto renders = [&](Listener& listener, std::uint32_t seed, auto render) {
    return std::thread([&listener, &stopped, seed, render] {
      std::mt19937 random(seed);
      PlanarBuffers buffers(2, 256);
      while (!stopped && listener.heard() < totalFrames) {
        const std::int64_t frames = 1 + static_cast<std::int64_t>(random() % 256);
        const auto length = static_cast<std::size_t>(frames);
        for (std::int64_t channel = 0; channel < 2; ++channel) std::ranges::fill(buffers[channel], 0.0F);
        add(listener.counts, countedInRealtime([&] { render(buffers.pointers(), frames); }));
        listener.positioned = true;
        listener.hear(std::span(buffers[0]).first(length), std::span(buffers[1]).first(length));
        if (buffers[0][0] == 0.0F) std::this_thread::yield();
      }
    });
  };
  std::vector<std::thread> threads;
  threads.push_back(renders(device, 1, [&](auto buffers, std::int64_t frames) { bus.renderVirtual(buffers, frames); }));
  threads.push_back(renders(
      speakers, 2, [&](auto buffers, std::int64_t frames) { bus.renderMonitor(firstMonitor, buffers, frames); }));
  threads.push_back(renders(
      headphones, 3, [&](auto buffers, std::int64_t frames) { bus.renderMonitor(secondMonitor, buffers, frames); }));

  std::atomic<std::int64_t> rebuilds = 0;
  RealtimeCounts writerCounts;
  threads.emplace_back([&] {
    // Every reader takes its place at position 0 first.
    while (!stopped && !(device.positioned && speakers.positioned && headphones.positioned)) std::this_thread::yield();
    std::mt19937 random(4);
    for (std::int64_t written = 0; written < totalFrames && !stopped;) {
      const std::int64_t frames =
          std::min(1 + static_cast<std::int64_t>(random() % maximumWriteFrames), totalFrames - written);
      const auto slowest = [&] { return std::min({device.heard(), speakers.heard(), headphones.heard()}); };
      const auto isEarly = [&] { return rebuilds * totalFrames < leastRebuilds * written; };
      while (!stopped && (written + frames - slowest() > maximumLagFrames || isEarly())) std::this_thread::yield();
      PlanarBuffers block(2, frames);
      for (std::int64_t i = 0; i < frames; ++i) {
        block[0][static_cast<std::size_t>(i)] = numbered(written + i);
        block[1][static_cast<std::size_t>(i)] = numbered(written + i);
      }
      add(writerCounts, countedInRealtime([&] {
            sourceRing->write(block.captured());
            inputRing->write(block.captured());
          }));
      written += frames;
    }
  });

  // Meanwhile, edits: gains of powers of two, so that the arithmetic stays exact; a source and a monitor that come and
  // go; and snapshots.
  std::mt19937 random(5);
  float loudest = 0;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(100);
  const auto finished = [&] { return std::min({device.heard(), speakers.heard(), headphones.heard()}) >= totalFrames; };
  while (!finished() && std::chrono::steady_clock::now() < deadline) {
    DeviceGraph edited = graph;
    edited.sources[0].channelGains[1] = random() % 2 == 0 ? 1.0F : 0.5F;
    if (random() % 2 == 0)
      edited.sources.push_back({.id = silentSource, .kind = SystemAudioSource{}, .channelGains = {}});
    if (random() % 2 == 0) edited.monitors.push_back({.id = passingMonitor, .deviceUID = "m", .name = "M"});
    bus.rebuildPlans(edited, rings, 2);
    ++rebuilds;
    const MeterSnapshot snapshot = meter.snapshot(rings, bus, inputRing.get());
    loudest = std::max(loudest, snapshot.sourcePeaks.at(numberedSource)[0]);
    EXPECT_LE(snapshot.outputPeaks.at(0), numbered(totalFrames - 1));
    EXPECT_EQ(snapshot.sourcePeaks.at(silentSource)[0], 0.0F);
    EXPECT_GE(bus.cursors().at(numberedSource), -1);
    if (random() % 8 == 0) std::this_thread::yield();
  }
  EXPECT_TRUE(finished()) << "heard " << device.heard() << ", " << speakers.heard() << ", " << headphones.heard();
  stopped = true;
  for (std::thread& thread : threads) thread.join();

  for (const Listener* listener : {&device, &speakers, &headphones}) {
    EXPECT_EQ(listener->failure(), "");
    EXPECT_EQ(listener->heard(), totalFrames);
    EXPECT_EQ(listener->counts, RealtimeCounts{});
  }
  EXPECT_EQ(writerCounts, RealtimeCounts{});
  EXPECT_EQ(counters->statistics().repositionings, 0);
  loudest = std::max(loudest, meter.snapshot(rings, bus, nullptr).sourcePeaks.at(numberedSource)[0]);
  EXPECT_EQ(loudest, numbered(totalFrames - 1)) << "some snapshot has seen every written frame";
  EXPECT_GE(rebuilds, leastRebuilds);
  RecordProperty("rebuilds", std::to_string(rebuilds));
}

/// Stereo sources, each channel of which goes to all sixteen outputs.
struct FullPlan {
  static constexpr std::int64_t sourceCount = 64;
  static constexpr std::int64_t outputCount = 16;
  static constexpr std::int64_t frames = 64;
  // 128 of these stay below the knee and are exact in 32 bits.
  static constexpr float sample = 0x1p-9F;

  FullPlan() {
    for (std::int64_t i = 0; i < sourceCount; ++i) {
      const UUID id = identifier(static_cast<std::uint8_t>(i + 1));
      graph.sources.push_back({.id = id, .kind = SystemAudioSource{}, .channelGains = {}});
      rings.emplace(id, std::make_shared<SourceRing>(2, captureRingFrames, fastestKernels(), counters));
      for (std::int64_t wire = 0; wire < 2 * outputCount; ++wire) {
        graph.wires.push_back({.sourceID = id, .sourceChannel = wire % 2, .outputChannel = wire / 2});
      }
    }
    std::ranges::fill(block[0], sample);
    std::ranges::fill(block[1], sample);
    bus.rebuildPlans(graph, rings, outputCount);
  }

  /// One block into every ring, then one out of them. The counts of both together.
  RealtimeCounts cycle() {
    for (std::int64_t channel = 0; channel < outputCount; ++channel) std::ranges::fill(output[channel], 0.0F);
    return countedInRealtime([&] {
      for (const auto& ring : rings) ring.second->write(block.captured());
      bus.renderVirtual(output.pointers(), frames);
    });
  }

  std::shared_ptr<EngineCounters> counters = std::make_shared<EngineCounters>();
  DeviceGraph graph{"device"};
  MixBus::Rings rings;
  MixBus bus;
  PlanarBuffers block{2, frames};
  PlanarBuffers output{outputCount, frames};
};

TEST(MixBusStress, ofManySourcesEveryTapIsHeardWithoutAllocatingOrBlocking) {
  FullPlan plan;
  for (int round = 0; round < 200; ++round) {
    plan.graph.masterGain = round % 2 == 0 ? 1.0F : 0.5F;
    plan.bus.rebuildPlans(plan.graph, plan.rings, FullPlan::outputCount);
    EXPECT_EQ(plan.cycle(), RealtimeCounts{});
    // 64 sources of 2 channels: 128 x 2^-9 = 0.25.
    const float expected = 0.25F * plan.graph.masterGain;
    for (std::int64_t channel = 0; channel < FullPlan::outputCount; ++channel) {
      ASSERT_EQ(plan.output[channel], std::vector<float>(FullPlan::frames, expected)) << round;
    }
  }
}

TEST(MixBusStress, ofManySourcesEveryTapIsHeardWhilePlansAreRebuilt) {
  constexpr int cycles = 2000;
  FullPlan plan;
  std::atomic<std::int64_t> rebuilds = 0;
  std::atomic<bool> isOver = false;
  RealtimeCounts counts;
  std::string failure;
  std::thread renders([&] {
    for (int cycle = 0; cycle < cycles || rebuilds < leastRebuilds; ++cycle) {
      add(counts, plan.cycle());
      const float first = plan.output[0][0];
      if (first != 0.25F && first != 0.125F) failure = "heard " + std::to_string(first);
      for (std::int64_t channel = 0; channel < FullPlan::outputCount; ++channel) {
        for (const float sample : plan.output[channel]) {
          if (sample != first) failure = "two plans in cycle " + std::to_string(cycle);
        }
      }
    }
    isOver = true;
  });
  EngineMeter meter;
  DeviceGraph edited = plan.graph;
  while (!isOver) {
    edited.masterGain = rebuilds % 2 == 0 ? 0.5F : 1.0F;
    plan.bus.rebuildPlans(edited, plan.rings, FullPlan::outputCount);
    meter.snapshot(plan.rings, plan.bus, nullptr);
    ++rebuilds;
  }
  renders.join();
  EXPECT_EQ(failure, "");
  EXPECT_EQ(counts, RealtimeCounts{});
  EXPECT_EQ(plan.counters->statistics().repositionings, 0);
}

}  // namespace
}  // namespace brindlemux
