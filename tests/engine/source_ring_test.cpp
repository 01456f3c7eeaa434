#include "engine/source_ring.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "engine/audio_test_support.h"

namespace brindlemux {
namespace {

using test::appendBlock;
using test::fillTo;
using test::inRealtime;
using test::payload;
using test::PlanarBuffers;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// One output of `frames` floats, cleared, and what a read puts there.
std::vector<float> readOne(SourceRing& ring, std::int64_t& cursor, std::int64_t frames, float gain = 1.0F,
                           std::int64_t channel = 0) {
  PlanarBuffers output(1, frames);
  const std::array taps = {Tap{.src = channel, .out = 0, .gain = gain}};
  inRealtime([&] { ring.mixRead(frames, cursor, output.pointers(), taps); });
  return output[0];
}

/// The last frames of a ring's channel; more than it has ever held are zeros.
std::vector<float> newest(SourceRing& ring, std::int64_t frames, std::int64_t channel = 0) {
  std::int64_t cursor = std::max(ring.head() - frames, std::int64_t{0});
  return readOne(ring, cursor, frames, 1.0F, channel);
}

void writePlanar(SourceRing& ring, const std::vector<std::vector<float>>& channels) {
  std::vector<const float*> pointers;
  for (const std::vector<float>& channel : channels) pointers.push_back(channel.data());
  const CapturedBuffer buffer = {.frames = static_cast<std::int64_t>(channels.front().size()), .planar = pointers};
  inRealtime([&] { ring.write(buffer); });
}

void writeInterleaved(SourceRing& ring, const std::vector<float>& samples, std::int64_t channels) {
  inRealtime([&] {
    ring.write({.frames = static_cast<std::int64_t>(samples.size()) / channels,
                .planar = {},
                .interleaved = samples.data(),
                .interleavedChannels = channels});
  });
}

// Making a ring

TEST(SourceRing, channelsAreClampedToOneToSixteen) {
  EXPECT_EQ(SourceRing(-3, 8).channels(), 1);
  EXPECT_EQ(SourceRing(0, 8).channels(), 1);
  EXPECT_EQ(SourceRing(1, 8).channels(), 1);
  EXPECT_EQ(SourceRing(16, 8).channels(), 16);
  EXPECT_EQ(SourceRing(17, 8).channels(), 16);
}

TEST(SourceRing, startsSilentAtPositionZero) {
  SourceRing ring(2, captureRingFrames);
  EXPECT_EQ(ring.capacity(), 96000);
  EXPECT_EQ(ring.head(), 0);
  EXPECT_EQ(ring.maxWriteFrames(), 0);
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
  EXPECT_EQ(ring.takePeaks(), (std::vector{0.0F, 0.0F}));
}

TEST(SourceRingDeathTest, aSizeThatIsNoneIsFatal) {
  EXPECT_DEATH(SourceRing(1, -1), "negative capacity");
  EXPECT_DEATH(SourceRing(16, std::numeric_limits<std::int64_t>::max() / 8), "overflow of a ring's size");
  // The samples fit, their bytes do not.
  EXPECT_DEATH(SourceRing(1, std::numeric_limits<std::int64_t>::max() / 2), "overflow of a ring's size");
}

TEST(SourceRingDeathTest, aRingWithoutCapacityIsFatalWhenUsed) {
  SourceRing ring(1, 0);
  EXPECT_DEATH(writePlanar(ring, {{1.0F}}), "without capacity");
  std::int64_t cursor = -1;
  EXPECT_DEATH(readOne(ring, cursor, 1), "without capacity");
}

// Writing

TEST(SourceRing, anEmptyBlockChangesNothing) {
  SourceRing ring(1, 8);
  inRealtime([&] { ring.write({}); });
  EXPECT_EQ(ring.head(), 0);
  EXPECT_EQ(ring.maxWriteFrames(), 0);
}

TEST(SourceRingDeathTest, aNegativeBlockIsFatal) {
  SourceRing ring(1, 8);
  EXPECT_DEATH(ring.write({.frames = -1, .planar = {}}), "negative length");
}

TEST(SourceRing, planarChannelsGoToTheirOwn) {
  SourceRing ring(3, 8);
  writePlanar(ring, {{1, 2}, {3, 4}, {5, 6}});
  EXPECT_EQ(newest(ring, 2, 0), (std::vector{1.0F, 2.0F}));
  EXPECT_EQ(newest(ring, 2, 1), (std::vector{3.0F, 4.0F}));
  EXPECT_EQ(newest(ring, 2, 2), (std::vector{5.0F, 6.0F}));
}

TEST(SourceRing, ringChannelsBeyondTheBlocksRepeatItsLast) {
  SourceRing mono(2, 8);
  writePlanar(mono, {{1, 2}});
  EXPECT_EQ(newest(mono, 2, 0), (std::vector{1.0F, 2.0F}));
  EXPECT_EQ(newest(mono, 2, 1), (std::vector{1.0F, 2.0F}));
  EXPECT_EQ(mono.takePeaks(), (std::vector{2.0F, 2.0F}));

  SourceRing four(4, 8);
  writePlanar(four, {{1}, {2}});
  EXPECT_EQ(newest(four, 1, 1), std::vector{2.0F});
  EXPECT_EQ(newest(four, 1, 2), std::vector{2.0F});
  EXPECT_EQ(newest(four, 1, 3), std::vector{2.0F});
}

TEST(SourceRing, blockChannelsBeyondTheRingsAreLeftOut) {
  SourceRing ring(2, 8);
  writePlanar(ring, {{1}, {2}, {3}, {4}, {5}, {6}});
  EXPECT_EQ(newest(ring, 1, 0), std::vector{1.0F});
  EXPECT_EQ(newest(ring, 1, 1), std::vector{2.0F});
  EXPECT_EQ(ring.takePeaks(), (std::vector{1.0F, 2.0F}));
}

TEST(SourceRing, interleavedChannelsAreTakenApart) {
  SourceRing ring(2, 8);
  writeInterleaved(ring, {1, 2, 3, 4, 5, 6}, 2);
  EXPECT_EQ(ring.head(), 3);
  EXPECT_EQ(newest(ring, 3, 0), (std::vector{1.0F, 3.0F, 5.0F}));
  EXPECT_EQ(newest(ring, 3, 1), (std::vector{2.0F, 4.0F, 6.0F}));
  EXPECT_EQ(ring.takePeaks(), (std::vector{5.0F, 6.0F}));
}

TEST(SourceRing, interleavedBlocksFollowTheSameChannelRule) {
  SourceRing wide(3, 8);
  writeInterleaved(wide, {1, 2, 3, 4}, 2);
  EXPECT_EQ(newest(wide, 2, 2), (std::vector{2.0F, 4.0F}));
  SourceRing narrow(1, 8);
  writeInterleaved(narrow, {1, 2, 3, 4, 5, 6}, 3);
  EXPECT_EQ(newest(narrow, 2, 0), (std::vector{1.0F, 4.0F}));
  EXPECT_EQ(narrow.takePeaks(), std::vector{4.0F});
}

TEST(SourceRing, anUnusableBlockIsDroppedButCountsAsALargeWrite) {
  SourceRing ring(2, 8);
  const float sample = 1.0F;
  const std::array<const float*, 2> half = {&sample, nullptr};
  inRealtime([&] {
    ring.write({.frames = 1, .planar = {}});
    ring.write({.frames = 2, .planar = {}, .interleaved = nullptr, .interleavedChannels = 2});
    ring.write({.frames = 3, .planar = {}, .interleaved = &sample, .interleavedChannels = 0});
    ring.write({.frames = 4, .planar = half, .interleaved = &sample, .interleavedChannels = 1});
  });
  EXPECT_EQ(ring.head(), 0);
  EXPECT_EQ(ring.takePeaks(), (std::vector{0.0F, 0.0F}));
  EXPECT_EQ(ring.maxWriteFrames(), 4);
  EXPECT_EQ(ring.counters().statistics().droppedBlocks, 4);
  // The lock was given back.
  writePlanar(ring, {{1.0F}});
  EXPECT_EQ(ring.head(), 1);
}

TEST(SourceRing, theLargestWriteIsRememberedUpTo4096) {
  SourceRing ring(1, captureRingFrames);
  appendBlock(ring, 100, 1);
  EXPECT_EQ(ring.maxWriteFrames(), 100);
  appendBlock(ring, 50, 1);
  EXPECT_EQ(ring.maxWriteFrames(), 100);
  appendBlock(ring, 4096, 1);
  EXPECT_EQ(ring.maxWriteFrames(), 4096);
  appendBlock(ring, 10000, 1);
  EXPECT_EQ(ring.maxWriteFrames(), 4096);
  EXPECT_EQ(ring.head(), 100 + 50 + 4096 + 10000);
}

TEST(SourceRingDeathTest, anOverflowOfTheFramePositionIsFatal) {
  SourceRing ring(1, 8);
  appendBlock(ring, 1, 1);
  // 1 + (2^63 - 1) frames are one too many; no sample is looked at before that is known.
  constexpr std::int64_t frames = std::numeric_limits<std::int64_t>::max();
  const float sample = 0;
  const std::array<const float*, 1> planar = {&sample};
  EXPECT_DEATH(ring.write({.frames = frames, .planar = planar}), "overflow of a ring's frame position");
  EXPECT_DEATH(ring.write({.frames = frames, .planar = {}, .interleaved = &sample, .interleavedChannels = 1}),
               "overflow of a ring's frame position");
  // A block that is dropped does not move the head.
  ring.write({.frames = frames, .planar = {}});
  EXPECT_EQ(ring.head(), 1);
}

TEST(SourceRing, aRingOfOneFrameHoldsTheNewest) {
  SourceRing ring(1, 1);
  for (std::int64_t first = 0; first < 50; first += 3) {
    appendBlock(ring, 3, 1);
    EXPECT_EQ(newest(ring, 1), std::vector{payload(first + 2)});
  }
}

TEST(SourceRing, framesSurviveEveryWrapPosition) {
  constexpr std::int64_t capacity = 7;
  for (std::int64_t block = 1; block <= capacity; ++block) {
    SourceRing ring(2, capacity);
    for (int round = 0; round < 20; ++round) {
      const std::int64_t first = ring.head();
      appendBlock(ring, block, 2);
      for (std::int64_t channel = 0; channel < 2; ++channel) {
        const std::vector<float> read = newest(ring, block, channel);
        for (std::int64_t i = 0; i < block; ++i) {
          ASSERT_EQ(read[static_cast<std::size_t>(i)], payload(first + i, channel)) << block << " at " << first;
        }
      }
    }
  }
}

TEST(SourceRing, interleavedFramesSurviveEveryWrapPosition) {
  SourceRing ring(2, 5);
  for (std::int64_t first = 0; first < 60; first += 3) {
    std::vector<float> block;
    for (std::int64_t i = 0; i < 3; ++i) {
      block.push_back(payload(first + i, 0));
      block.push_back(payload(first + i, 1));
    }
    writeInterleaved(ring, block, 2);
    EXPECT_EQ(newest(ring, 3, 0), (std::vector{payload(first), payload(first + 1), payload(first + 2)}));
    EXPECT_EQ(newest(ring, 3, 1), (std::vector{payload(first, 1), payload(first + 1, 1), payload(first + 2, 1)}));
  }
}

TEST(SourceRing, ofABlockLongerThanTheRingTheNewestFramesSurvive) {
  for (const std::int64_t before : {0, 1, 3}) {
    SourceRing ring(1, 4);
    if (before > 0) appendBlock(ring, before, 1);
    appendBlock(ring, 11, 1);
    EXPECT_EQ(ring.head(), before + 11);
    EXPECT_EQ(newest(ring, 4),
              (std::vector{payload(before + 7), payload(before + 8), payload(before + 9), payload(before + 10)}));
    // The peak is the whole block's: the newest sample is the largest here.
    EXPECT_EQ(ring.takePeaks(), std::vector{payload(before + 10)});
  }
  SourceRing ring(1, 4);
  writePlanar(ring, {{-9, 1, 1, 1, 1, 1}});
  EXPECT_EQ(ring.takePeaks(), std::vector{9.0F});  // a sample that did not survive
  writeInterleaved(ring, {-9, 1, 1, 1, 1, 1}, 1);
  EXPECT_EQ(ring.takePeaks(), std::vector{9.0F});
}

// Peaks

TEST(SourceRing, peaksAreTheLargestMagnitudesSinceTheLastTake) {
  SourceRing ring(2, 8);
  writePlanar(ring, {{0.5F, -0.8F, 0.3F}, {0.1F, 0.2F, -0.1F}});
  writePlanar(ring, {{0.7F}, {-0.3F}});
  EXPECT_EQ(ring.takePeaks(), (std::vector{0.8F, 0.3F}));
  EXPECT_EQ(ring.takePeaks(), (std::vector{0.0F, 0.0F}));
  writePlanar(ring, {{0.1F}, {0.2F}});
  EXPECT_EQ(ring.takePeaks(), (std::vector{0.1F, 0.2F}));
}

TEST(SourceRing, aNaNNeverBecomesThePeak) {
  SourceRing ring(1, 16);
  writePlanar(ring, {{notANumber, 0.5F, -notANumber}});
  writePlanar(ring, {{notANumber}});
  EXPECT_EQ(ring.takePeaks(), std::vector{0.5F});
  writePlanar(ring, {{notANumber}});
  EXPECT_EQ(ring.takePeaks(), std::vector{0.0F});
  writePlanar(ring, {{-infinity, notANumber, 1.0F}});
  EXPECT_EQ(ring.takePeaks(), std::vector{infinity});
}

// Positioning readers

TEST(SourceRing, aFreshReaderStartsTheLagBoundBehindTheNewestFrame) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 100000, 512);
  ASSERT_EQ(ring.maxWriteFrames(), 512);
  // The larger of 512 and 256, plus 256: 768 frames behind 100000.
  std::int64_t cursor = -1;
  const std::vector<float> read = readOne(ring, cursor, 256);
  EXPECT_EQ(cursor, 99232 + 256);
  EXPECT_EQ(read.front(), payload(99232));
  EXPECT_EQ(read.back(), payload(99232 + 255));
}

TEST(SourceRing, aReadLongerThanTheLargestWriteCountsTwice) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 10000, 100);
  std::int64_t cursor = -1;
  // The larger of 100 and 300, plus 300.
  EXPECT_EQ(readOne(ring, cursor, 300).front(), payload(10000 - 600));
}

TEST(SourceRing, theResetDistanceIsAtMost4096) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 20000, 4000);
  std::int64_t cursor = -1;
  // 4000 + 1000 would be 5000.
  EXPECT_EQ(readOne(ring, cursor, 1000).front(), payload(20000 - 4096));
}

TEST(SourceRing, aFreshReaderOfAYoungRingStartsAtItsBeginning) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 300, 100);
  std::int64_t cursor = -1;
  // 300 - 512 is before the beginning.
  const std::vector<float> read = readOne(ring, cursor, 256);
  EXPECT_EQ(read.front(), payload(0));
  EXPECT_EQ(read.back(), payload(255));
  EXPECT_EQ(cursor, 256);
}

TEST(SourceRing, anyNegativeCursorIsAFreshReader) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 10000, 100);
  for (const std::int64_t fresh : {std::int64_t{-2}, std::numeric_limits<std::int64_t>::min()}) {
    std::int64_t cursor = fresh;
    EXPECT_EQ(readOne(ring, cursor, 100).front(), payload(10000 - 200));
  }
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
}

TEST(SourceRing, readerAtTheHeadGetsNothingAndStays) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 1000, 100);
  std::int64_t cursor = 1000;
  EXPECT_EQ(readOne(ring, cursor, 64), std::vector<float>(64, 0.0F));
  EXPECT_EQ(cursor, 1000);
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
  EXPECT_EQ(ring.counters().statistics().underruns, 1);
}

TEST(SourceRing, aReaderThatWaitsForTheFirstBlockDoesNotCountAsRunDry) {
  SourceRing ring(1, captureRingFrames);
  std::int64_t cursor = -1;
  for (int read = 0; read < 3; ++read) readOne(ring, cursor, 64);
  EXPECT_EQ(ring.counters().statistics().underruns, 0);
  fillTo(ring, 64, 64);
  readOne(ring, cursor, 64);
  EXPECT_EQ(ring.counters().statistics().underruns, 0);
  readOne(ring, cursor, 64);
  EXPECT_EQ(ring.counters().statistics().underruns, 1);
}

TEST(SourceRing, onUnderrunOnlyTheAvailableFramesAreAdded) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 1000, 100);
  std::int64_t cursor = 997;
  std::vector<float> expected(64, 0.0F);
  expected[0] = payload(997);
  expected[1] = payload(998);
  expected[2] = payload(999);
  EXPECT_EQ(readOne(ring, cursor, 64), expected);
  EXPECT_EQ(cursor, 1000);
  EXPECT_EQ(ring.counters().statistics().underruns, 1);
}

TEST(SourceRing, readerBehindByTheSlackAndTheResetDistanceIsKept) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 50000, 512);
  // Reset: 512 + 256 = 768. Slack: 2400, which is more. Together 3168.
  std::int64_t cursor = 50000 - 3168;
  EXPECT_EQ(readOne(ring, cursor, 256).front(), payload(50000 - 3168));
  EXPECT_EQ(cursor, 50000 - 3168 + 256);
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
}

TEST(SourceRing, readerBehindByMoreThanSlackIsRepositioned) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 50000, 512);
  std::int64_t cursor = 50000 - 3169;
  EXPECT_EQ(readOne(ring, cursor, 256).front(), payload(50000 - 768));
  EXPECT_EQ(cursor, 50000 - 768 + 256);
  EXPECT_EQ(ring.counters().statistics().repositionings, 1);
}

TEST(SourceRing, theSlackGrowsWithTheBlocksUpTo4096) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 50000, 2000);
  // The lag bound is 2000 + 1000 = 3000: reset and slack alike.
  std::int64_t cursor = 50000 - 6000;
  EXPECT_EQ(readOne(ring, cursor, 1000).front(), payload(44000));
  cursor = 50000 - 6001;
  EXPECT_EQ(readOne(ring, cursor, 1000).front(), payload(47000));
  appendBlock(ring, 10000, 1);
  // 4096 + 1000 is bounded to 4096, twice.
  cursor = 60000 - 8192;
  EXPECT_EQ(readOne(ring, cursor, 1000).front(), payload(60000 - 8192));
  cursor = 60000 - 8193;
  EXPECT_EQ(readOne(ring, cursor, 1000).front(), payload(60000 - 4096));
}

TEST(SourceRing, readerAheadOfTheWriterIsMovedBack) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 10000, 100);
  std::int64_t cursor = 10001;
  EXPECT_EQ(readOne(ring, cursor, 100).front(), payload(10000 - 200));
  EXPECT_EQ(cursor, 10000 - 200 + 100);
  cursor = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(readOne(ring, cursor, 100).front(), payload(10000 - 200));
  EXPECT_EQ(ring.counters().statistics().repositionings, 2);
}

TEST(SourceRing, readerWhoseFramesAreOverwrittenIsMovedForward) {
  // Smaller than the slack, so that the capacity is what decides.
  SourceRing ring(1, 1000);
  fillTo(ring, 5000, 100);
  std::int64_t cursor = 4000;
  EXPECT_EQ(readOne(ring, cursor, 100).front(), payload(4000));
  cursor = 3999;
  EXPECT_EQ(readOne(ring, cursor, 100).front(), payload(5000 - 200));
  EXPECT_EQ(ring.counters().statistics().repositionings, 1);
}

TEST(SourceRing, onlyReadersThatHadAPlaceCountAsRepositioned) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 10000, 100);
  std::int64_t cursor = -1;
  readOne(ring, cursor, 100);
  readOne(ring, cursor, 100);
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
  cursor = 0;
  readOne(ring, cursor, 100);
  EXPECT_EQ(ring.counters().statistics().repositionings, 1);
}

TEST(SourceRing, aReadOfNoFramesTouchesNothing) {
  SourceRing ring(1, 8);
  appendBlock(ring, 4, 1);
  PlanarBuffers output(1, 4);
  const std::array taps = {Tap{}};
  for (const std::int64_t frames : {std::int64_t{0}, std::int64_t{-1}, std::numeric_limits<std::int64_t>::min()}) {
    std::int64_t cursor = -1;
    inRealtime([&] { ring.mixRead(frames, cursor, output.pointers(), taps); });
    EXPECT_EQ(cursor, -1);
  }
  EXPECT_EQ(output[0], std::vector<float>(4, 0.0F));
}

TEST(SourceRingDeathTest, anOverflowOfTheLagBoundIsFatal) {
  SourceRing ring(1, 8);
  std::int64_t cursor = -1;
  EXPECT_DEATH(ring.mixRead(std::numeric_limits<std::int64_t>::max(), cursor, {}, {}), "overflow of a ring's frame");
}

// Mixing

TEST(SourceRing, readingAddsAndNeverClears) {
  SourceRing ring(1, 8);
  writePlanar(ring, {{1, 2, 3}});
  PlanarBuffers output(1, 4);
  output[0] = {10, 10, 10, 10};
  const std::array taps = {Tap{.src = 0, .out = 0, .gain = 0.5F}};
  for (int pass = 0; pass < 2; ++pass) {
    std::int64_t cursor = 0;
    inRealtime([&] { ring.mixRead(4, cursor, output.pointers(), taps); });
  }
  // Twice 10 + 0.5 x (1, 2, 3); the ring has no fourth frame.
  EXPECT_EQ(output[0], (std::vector{11.0F, 12.0F, 13.0F, 10.0F}));
}

TEST(SourceRing, theProductIsRoundedBeforeItIsAdded) {
  // Exactly, (1 + 2^-23) x (1 - 2^-23) = 1 - 2^-46, which rounds to 1. With -1 that leaves 0; fused, it would leave
  // -2^-46.
  SourceRing ring(1, 64);
  writePlanar(ring, {std::vector<float>(33, 1.0F + 0x1p-23F)});
  PlanarBuffers output(1, 33);
  output[0].assign(33, -1.0F);
  const std::array taps = {Tap{.src = 0, .out = 0, .gain = 1.0F - 0x1p-23F}};
  std::int64_t cursor = 0;
  inRealtime([&] { ring.mixRead(33, cursor, output.pointers(), taps); });
  EXPECT_EQ(output[0], std::vector<float>(33, 0.0F));
}

TEST(SourceRing, tapsMayShareAnOutputOrASource) {
  SourceRing ring(2, 8);
  writePlanar(ring, {{1, 2}, {10, 20}});
  PlanarBuffers output(3, 2);
  const std::array taps = {Tap{.src = 0, .out = 0, .gain = 1}, Tap{.src = 1, .out = 0, .gain = 2},
                           Tap{.src = 0, .out = 2, .gain = 4}, Tap{.src = 0, .out = 2, .gain = -1}};
  std::int64_t cursor = 0;
  inRealtime([&] { ring.mixRead(2, cursor, output.pointers(), taps); });
  EXPECT_EQ(output[0], (std::vector{21.0F, 42.0F}));
  EXPECT_EQ(output[1], (std::vector{0.0F, 0.0F}));
  EXPECT_EQ(output[2], (std::vector{3.0F, 6.0F}));
  EXPECT_EQ(cursor, 2);
}

TEST(SourceRing, tapsOutOfRangeChangeNothing) {
  SourceRing ring(2, 8);
  writePlanar(ring, {{1, 2}, {3, 4}});
  constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  for (const auto& [src, out] : std::vector<std::pair<std::int64_t, std::int64_t>>{
           {2, 0}, {-1, 0}, {most, 0}, {least, 0}, {0, 2}, {0, -1}, {0, most}, {0, least}}) {
    PlanarBuffers output(2, 2);
    const std::array taps = {Tap{.src = src, .out = out, .gain = 1}};
    std::int64_t cursor = 0;
    inRealtime([&] { ring.mixRead(2, cursor, output.pointers(), taps); });
    EXPECT_EQ(output[0], std::vector<float>(2, 0.0F));
    EXPECT_EQ(output[1], std::vector<float>(2, 0.0F));
    EXPECT_EQ(cursor, 2) << "the reader goes on all the same";
  }
}

TEST(SourceRing, aSilentTapStillAdvancesTheCursor) {
  SourceRing ring(1, 8);
  writePlanar(ring, {{1, 2, 3, 4}});
  std::int64_t cursor = 0;
  EXPECT_EQ(readOne(ring, cursor, 3, 0.0F), std::vector<float>(3, 0.0F));
  EXPECT_EQ(cursor, 3);
}

TEST(SourceRing, withoutTapsTheCursorAdvances) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 10000, 100);
  std::int64_t cursor = -1;
  inRealtime([&] { ring.mixRead(100, cursor, {}, {}); });
  EXPECT_EQ(cursor, 10000 - 200 + 100);
  inRealtime([&] { ring.mixRead(100, cursor, {}, {}); });
  EXPECT_EQ(cursor, 10000);
  inRealtime([&] { ring.mixRead(100, cursor, {}, {}); });
  EXPECT_EQ(cursor, 10000);
}

TEST(SourceRing, readersAreIndependent) {
  SourceRing ring(1, captureRingFrames);
  fillTo(ring, 1000, 100);
  std::int64_t first = 900;
  std::int64_t second = 950;
  EXPECT_EQ(readOne(ring, first, 10).front(), payload(900));
  EXPECT_EQ(readOne(ring, second, 20).front(), payload(950));
  EXPECT_EQ(readOne(ring, first, 10).front(), payload(910));
  EXPECT_EQ(readOne(ring, second, 10).front(), payload(970));
}

TEST(SourceRing, everyReadIsInPlaceAcrossTheWrap) {
  SourceRing ring(2, 500);
  std::int64_t cursor = 0;
  std::int64_t heard = 0;
  for (const std::int64_t frames : {64, 1, 63, 100, 7, 250, 31, 499, 64, 128, 400, 333}) {
    appendBlock(ring, frames, 2);
    const std::vector<float> read = readOne(ring, cursor, frames, 1.0F, 1);
    for (const float sample : read) ASSERT_EQ(sample, payload(heard++, 1));
  }
  EXPECT_EQ(cursor, ring.head());
  EXPECT_EQ(ring.counters().statistics().repositionings, 0);
}

/// Reads `frames` frames that begin in `slot` of a ring in its third lap, and expects each to be the one written there.
void expectReadInPlace(SourceRing& ring, std::int64_t slot, std::int64_t frames) {
  const std::int64_t first = 2 * ring.capacity() + slot;
  fillTo(ring, first + frames, 100, 2);
  std::int64_t cursor = first;
  PlanarBuffers outputs(2, frames);
  const std::array taps = {Tap{.src = 1, .out = 0, .gain = 1.0F}, Tap{.src = 0, .out = 1, .gain = 0.5F},
                           Tap{.src = 1, .out = 1, .gain = 2.0F}};
  inRealtime([&] { ring.mixRead(frames, cursor, outputs.pointers(), taps); });
  ASSERT_EQ(cursor, first + frames);
  for (std::int64_t i = 0; i < frames; ++i) {
    const float left = payload(first + i, 0);
    const float right = payload(first + i, 1);
    ASSERT_EQ(outputs[0][static_cast<std::size_t>(i)], right) << slot << " and " << i << " of " << frames;
    ASSERT_EQ(outputs[1][static_cast<std::size_t>(i)], 0.5F * left + 2.0F * right) << slot << " and " << i;
  }
}

TEST(SourceRing, readsAreTheSameWhereverTheRingEnds) {
  for (const Kernels& kernels : availableKernels()) {
    for (std::int64_t slot = 0; slot < 40; ++slot) {
      for (std::int64_t frames = 1; frames <= 40; ++frames) {
        SourceRing ring(2, 40, kernels);
        ASSERT_NO_FATAL_FAILURE(expectReadInPlace(ring, slot, frames)) << kernels.name;
      }
    }
  }
}

TEST(SourceRing, longReadsAreTheSameWhereverTheRingEnds) {
  for (const Kernels& kernels : availableKernels()) {
    for (const std::int64_t slot : {1, 7, 400, 4690, 4999}) {
      for (const std::int64_t frames : {64, 311, 312, 313, 320, 1000, 4097, 4700, 5000}) {
        SourceRing ring(2, 5000, kernels);
        ASSERT_NO_FATAL_FAILURE(expectReadInPlace(ring, slot, frames)) << kernels.name;
      }
    }
  }
}

}  // namespace
}  // namespace brindlemux
