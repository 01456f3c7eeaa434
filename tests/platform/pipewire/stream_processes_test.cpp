#include "platform/pipewire/stream_processes.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tuple>
#include <utility>
#include <vector>

#include "engine/source_ring.h"

namespace brindlemux {
namespace {

/// What an I/O procedure was handed, one list of samples a block and channel.
using Blocks = std::vector<std::vector<std::vector<float>>>;

IOBlock recordInto(Blocks& blocks) {
  return [&blocks](AudioBufferList input) {
    auto& block = blocks.emplace_back();
    for (const AudioBuffer& buffer : input) {
      EXPECT_EQ(buffer.channels, 1U);
      block.emplace_back(buffer.data, buffer.data + buffer.byteSize / sizeof(float));
    }
  };
}

TEST(CaptureProcess, theFirstCycleIsPrecededByOneSilentBlock) {
  Blocks blocks;
  CaptureProcess capture(1, recordInto(blocks));
  std::vector<float> samples = {0.25F, -0.5F};
  float* const inputs[] = {samples.data()};
  capture.process(inputs, {}, 2);
  capture.process(inputs, {}, 2);
  EXPECT_EQ(blocks, (Blocks{{{0.0F, 0.0F}}, {{0.25F, -0.5F}}, {{0.25F, -0.5F}}}));
}

/// A ring with its writer and its reader, both called in cycles of 64 frames as the server calls nodes.
struct Route {
  static constexpr std::uint32_t frames = 64;
  explicit Route(bool readerIsFirst) : isReaderFirst(readerIsFirst) {}

  void runCycle(bool writes, bool reads) {
    if (isReaderFirst) read(reads);
    write(writes);
    if (!isReaderFirst) read(reads);
    ++cycle;
  }
  void write(bool isCalled) {
    if (!isCalled) return;
    std::vector<float> samples(frames, static_cast<float>(cycle + 1));
    float* const inputs[] = {samples.data()};
    capture.process(inputs, {}, frames);
  }
  void read(bool isCalled) {
    if (!isCalled) {
      unread += frames;
      return;
    }
    if (unread > 0) playback.missed(std::exchange(unread, 0));
    std::vector<float> samples(frames);
    float* const outputs[] = {samples.data()};
    playback.process({}, outputs, frames);
    delay = samples[0] > 0 ? cycle + 1 - static_cast<int>(samples[0]) : -1;
  }

  bool isReaderFirst;
  int cycle = 0;
  /// By how many cycles the block that was read last came later; -1 for silence.
  int delay = -1;
  std::uint64_t unread = 0;
  SourceRing ring{1, captureRingFrames};
  std::int64_t cursor = -1;
  CaptureProcess capture{1, [this](AudioBufferList input) {
                           const float* const channels[] = {input[0].data};
                           ring.write({.frames = input[0].byteSize / 4, .planar = channels});
                         }};
  PlaybackProcess playback{1, [this](AudioBufferList output, std::uint32_t count) {
                             float* const buffers[] = {output[0].data};
                             std::fill_n(output[0].data, count, 0.0F);
                             const Tap tap{.src = 0, .out = 0, .gain = 1};
                             ring.mixRead(count, cursor, buffers, {&tap, 1});
                             return noErr;
                           }};
};

class MissedCycles : public testing::TestWithParam<std::tuple<bool, int>> {
 protected:
  // The ring's rule places a reader two blocks behind the newest frame; a block that is written before it in the same
  // cycle is one of them.
  const int delay = std::get<0>(GetParam()) ? 2 : 1;
  const int missed = std::get<1>(GetParam());
  Route route{std::get<0>(GetParam())};

  void run(int cycles, bool writes, bool reads) {
    for (int i = 0; i < cycles; ++i) route.runCycle(writes, reads);
  }
  void SetUp() override {
    run(8, true, true);
    ASSERT_EQ(route.delay, delay);
  }
};

TEST_P(MissedCycles, ofTheReaderLeaveTheDelayAsItWas) {
  for (int round = 0; round < 5; ++round) {
    run(missed, true, false);
    run(8, true, true);
    EXPECT_EQ(route.delay, delay) << round;
  }
}

TEST_P(MissedCycles, ofTheWriterNeverMakeTheSoundLater) {
  for (int round = 0; round < 5; ++round) {
    run(missed, false, true);
    run(8, true, true);
    EXPECT_GE(route.delay, 0) << round;
    EXPECT_LE(route.delay, delay) << round;
  }
}

// Whether the reader is first, and how many cycles in a row are missed.
INSTANTIATE_TEST_SUITE_P(Processes, MissedCycles, testing::Combine(testing::Bool(), testing::Values(1, 2, 3, 20, 200)));

TEST(CaptureProcess, anUnlinkedChannelIsSilent) {
  Blocks blocks;
  CaptureProcess capture(2, recordInto(blocks));
  std::vector<float> samples = {0.25F, -0.5F, 1.0F};
  float* const inputs[] = {nullptr, samples.data()};
  capture.process(inputs, {}, 3);
  EXPECT_EQ(blocks.back(), (std::vector<std::vector<float>>{{0.0F, 0.0F, 0.0F}, {0.25F, -0.5F, 1.0F}}));
}

TEST(TapProcess, stereoPassesUntouched) {
  Blocks blocks;
  TapProcess tap(recordInto(blocks));
  std::vector<float> left = {0.25F, -0.0F};
  std::vector<float> right = {1e-40F, 3.0F};
  float* const inputs[] = {left.data(), right.data(), nullptr, nullptr, nullptr};
  tap.process(inputs, {}, 2);
  EXPECT_EQ(blocks.back(), (std::vector<std::vector<float>>{{0.25F, -0.0F}, {1e-40F, 3.0F}}));
  EXPECT_TRUE(std::signbit(blocks.back()[0][1]));
}

TEST(TapProcess, theCentreAndTheSurroundJoinTheirSidesAtThreeDecibelsLess) {
  Blocks blocks;
  TapProcess tap(recordInto(blocks));
  std::vector<float> left = {0.5F};
  std::vector<float> right = {0.25F};
  std::vector<float> centre = {0.5F};
  std::vector<float> leftSurround = {-1.0F};
  std::vector<float> rightSurround = {0.125F};
  float* const inputs[] = {left.data(), right.data(), centre.data(), leftSurround.data(), rightSurround.data()};
  tap.process(inputs, {}, 1);
  // 0.5 + (0.5 - 1) / sqrt 2 and 0.25 + (0.5 + 0.125) / sqrt 2
  EXPECT_NEAR(blocks.back()[0][0], 0.14644661, 1e-7);
  EXPECT_NEAR(blocks.back()[1][0], 0.69194174, 1e-7);
}

TEST(TapProcess, aSurroundChannelAloneIsHeardOnItsSideOnly) {
  Blocks blocks;
  TapProcess tap(recordInto(blocks));
  std::vector<float> behind = {1.0F};
  float* const inputs[] = {nullptr, nullptr, nullptr, behind.data(), nullptr};
  tap.process(inputs, {}, 1);
  EXPECT_NEAR(blocks.back()[0][0], 0.70710678, 1e-7);
  EXPECT_EQ(blocks.back()[1][0], 0.0F);
}

TEST(PlaybackProcess, channelsOfTheInterleavedBufferReachTheirPorts) {
  PlaybackProcess playback(2, [](AudioBufferList output, std::uint32_t frames) {
    EXPECT_EQ(output.size(), 1U);
    EXPECT_EQ(output[0].byteSize, frames * 2 * sizeof(float));
    for (std::uint32_t i = 0; i < frames; ++i) {
      output[0].data[2 * i] = static_cast<float>(i);
      output[0].data[2 * i + 1] = -static_cast<float>(i);
    }
    return noErr;
  });
  std::vector<float> left(3, 9.0F);
  std::vector<float> right(3, 9.0F);
  float* const outputs[] = {left.data(), right.data()};
  playback.process({}, outputs, 3);
  EXPECT_EQ(left, (std::vector<float>{0.0F, 1.0F, 2.0F}));
  EXPECT_EQ(right, (std::vector<float>{-0.0F, -1.0F, -2.0F}));
}

TEST(PlaybackProcess, whatWasMissedIsRenderedOnceAndDropped) {
  std::vector<std::uint32_t> rendered;
  PlaybackProcess playback(1, [&](AudioBufferList output, std::uint32_t frames) {
    rendered.push_back(frames);
    output[0].data[0] = 0.25F * static_cast<float>(rendered.size());
    return noErr;
  });
  std::vector<float> out(1);
  float* const outputs[] = {out.data()};
  playback.missed(3);
  playback.missed(maximumCycleFrames + 1);
  playback.process({}, outputs, 1);
  EXPECT_EQ(rendered, (std::vector<std::uint32_t>{3, 1}));
  EXPECT_EQ(out, std::vector<float>{0.5F});
}

TEST(PlaybackProcess, anUnlinkedPortIsPassedOver) {
  PlaybackProcess playback(2, [](AudioBufferList output, std::uint32_t) {
    output[0].data[1] = 0.5F;
    return noErr;
  });
  std::vector<float> right(1);
  float* const outputs[] = {nullptr, right.data()};
  playback.process({}, outputs, 1);
  EXPECT_EQ(right, std::vector<float>{0.5F});
}

TEST(PlaybackProcess, aFailingRenderPlaysSilence) {
  PlaybackProcess playback(1, [](AudioBufferList output, std::uint32_t frames) {
    for (std::uint32_t i = 0; i < frames; ++i) output[0].data[i] = 1.0F;
    return kAudioHardwareUnspecifiedError;
  });
  std::vector<float> out(2, 9.0F);
  float* const outputs[] = {out.data()};
  playback.process({}, outputs, 2);
  EXPECT_EQ(out, (std::vector<float>{0.0F, 0.0F}));
}

}  // namespace
}  // namespace brindlemux
