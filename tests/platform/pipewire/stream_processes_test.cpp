#include "platform/pipewire/stream_processes.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

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
