#include "engine/audio_normalizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

#include "support/realtime_guard.h"
#include "support/ring_reading.h"
#include "support/sine_fit.h"
#include "support/sine_tone.h"

namespace brindlemux {
namespace {

using testing::ElementsAre;

std::vector<float> sine(double sampleRateHz, std::size_t frames) {
  return test::sineTone(frames, 997, 0.5, sampleRateHz);
}

class AudioNormalizerTest : public testing::Test {
 protected:
  AudioNormalizer normalizer;
  SourceRing ring{2, captureRingFrames};

  void process(const std::vector<std::vector<float>>& channels, double sampleRateHz) {
    std::vector<const float*> pointers;
    for (const auto& channel : channels) pointers.push_back(channel.data());
    normalizer.process({.frames = std::ssize(channels.front()), .planar = pointers}, sampleRateHz, ring);
  }
};

TEST_F(AudioNormalizerTest, engineRateIsWrittenWithoutConversion) {
  process({{0.1F, 0.2F}, {0.3F, 0.4F}}, 48000);
  EXPECT_THAT(test::firstFrames(ring, 0, 2), ElementsAre(0.1F, 0.2F));
  EXPECT_THAT(test::firstFrames(ring, 1, 2), ElementsAre(0.3F, 0.4F));
}

TEST_F(AudioNormalizerTest, interleavedEngineRateIsWrittenDirectlyToo) {
  const std::vector<float> samples = {0.1F, 0.3F, 0.2F, 0.4F};
  normalizer.process({.frames = 2, .planar = {}, .interleaved = samples.data(), .interleavedChannels = 2}, 48000, ring);
  EXPECT_THAT(test::firstFrames(ring, 1, 2), ElementsAre(0.3F, 0.4F));
}

TEST_F(AudioNormalizerTest, emptyBlockChangesNothing) {
  normalizer.prepare(44100, 2);
  process({{}, {}}, 48000);
  process({{}, {}}, 44100);
  EXPECT_EQ(ring.head(), 0);
}

// 20 blocks of 441 frames at 44100 Hz are 0.2 s: 9600 frames at 48000 Hz, less the filter's look-ahead of 96 * 48
// / 44.1.
TEST_F(AudioNormalizerTest, otherRateIsConvertedAcrossBlocks) {
  normalizer.prepare(44100, 2);
  const auto samples = sine(44100, 8820);
  std::vector<float> heard;
  for (std::size_t begin = 0; begin < samples.size(); begin += 441) {
    const std::vector<float> block(samples.begin() + static_cast<std::ptrdiff_t>(begin),
                                   samples.begin() + static_cast<std::ptrdiff_t>(begin + 441));
    SourceRing fresh(2, captureRingFrames);
    const std::vector<const float*> pointers = {block.data(), block.data()};
    normalizer.process({.frames = 441, .planar = pointers}, 44100, fresh);
    const auto converted = test::firstFrames(fresh, 1, fresh.head());
    heard.insert(heard.end(), converted.begin(), converted.end());
  }
  EXPECT_NEAR(static_cast<double>(heard.size()), 9600 - 96 * 48 / 44.1, 2);
  EXPECT_GT(test::sineSignalToNoise(std::span(heard).subspan(1000), 997, 48000), 120);
}

TEST_F(AudioNormalizerTest, ringChannelsBeyondTheBlocksRepeatItsLast) {
  normalizer.prepare(44100, 2);
  process({sine(44100, 1000)}, 44100);
  ASSERT_GT(ring.head(), 900);
  EXPECT_EQ(test::firstFrames(ring, 0, ring.head()), test::firstFrames(ring, 1, ring.head()));
}

TEST_F(AudioNormalizerTest, surplusBlockChannelsAreLeftOut) {
  normalizer.prepare(44100, 2);
  process({std::vector<float>(1000, 0.0F), sine(44100, 1000), std::vector<float>(1000, 1.0F)}, 44100);
  const auto peaks = ring.takePeaks();
  EXPECT_EQ(peaks[0], 0);
  EXPECT_NEAR(peaks[1], 0.5F, 0.01F);
}

TEST_F(AudioNormalizerTest, interleavedOtherRateIsConverted) {
  normalizer.prepare(44100, 2);
  const auto samples = sine(44100, 2000);
  normalizer.process({.frames = 1000, .planar = {}, .interleaved = samples.data(), .interleavedChannels = 2}, 44100,
                     ring);
  EXPECT_GT(ring.head(), 900);
  normalizer.process({.frames = 1000, .planar = {}, .interleaved = nullptr, .interleavedChannels = 2}, 44100, ring);
  EXPECT_LT(ring.head(), 1100);
}

// 16384 frames at 8000 Hz are 98304 at 48000 Hz, less the look-ahead of 96 * 6 = 576.
TEST_F(AudioNormalizerTest, blockThatGrowsBeyondTheOutputBufferIsKeptWhole) {
  normalizer.prepare(8000, 2);
  process({std::vector<float>(16384, 0.5F)}, 8000);
  EXPECT_NEAR(static_cast<double>(ring.head()), 98304 - 576, 6);
}

TEST_F(AudioNormalizerTest, unpreparedOrInconvertibleRateIsDropped) {
  process({std::vector<float>(1000, 0.5F)}, 44100);
  EXPECT_EQ(ring.head(), 0);
  normalizer.prepare(44100, 2);
  process({std::vector<float>(1000, 0.5F)}, 32000);
  EXPECT_EQ(ring.head(), 0);
  normalizer.prepare(7, 2);
  process({std::vector<float>(1000, 0.5F)}, 7);
  EXPECT_EQ(ring.head(), 0);
  EXPECT_EQ(ring.counters().statistics().droppedBlocks, 3);
}

TEST_F(AudioNormalizerTest, ringOfAnotherChannelCountNeedsItsOwnPreparation) {
  normalizer.prepare(44100, 1);
  process({std::vector<float>(1000, 0.5F)}, 44100);
  EXPECT_EQ(ring.head(), 0);
  normalizer.prepare(44100, 2);
  process({std::vector<float>(1000, 0.5F)}, 44100);
  EXPECT_GT(ring.head(), 900);
}

TEST_F(AudioNormalizerTest, preparingAgainKeepsTheRunningConverter) {
  normalizer.prepare(44100, 2);
  process({std::vector<float>(1000, 0.5F)}, 44100);
  const std::int64_t first = ring.head();
  normalizer.prepare(44100, 2);
  process({std::vector<float>(1000, 0.5F)}, 44100);
  // A new converter would hold its look-ahead back again; this one gives all 1000 * 48000 / 44100 = 1088.4 frames.
  EXPECT_NEAR(static_cast<double>(ring.head() - first), 1088.4, 1);
}

TEST_F(AudioNormalizerTest, processingNeverAllocatesOrBlocks) {
  normalizer.prepare(44100, 2);
  const std::vector<float> samples(512, 0.5F);
  const std::vector<const float*> pointers = {samples.data(), samples.data()};
  EXPECT_EQ(test::countedInRealtime([&] {
              for (const double rate : {44100.0, 48000.0}) {
                normalizer.process({.frames = 512, .planar = pointers}, rate, ring);
              }
            }),
            test::RealtimeCounts{});
}

}  // namespace
}  // namespace brindlemux
