#include "engine/source_ring.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "engine/ring_blocks.h"

namespace brindlemux {
namespace {

using test::appendBlock;
using test::inRealtime;
using test::newest;
using test::payload;
using test::readOne;
using test::writeInterleaved;
using test::writePlanar;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

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

}  // namespace
}  // namespace brindlemux
