#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "engine/ring_blocks.h"
#include "engine/source_ring.h"

namespace brindlemux {
namespace {

using test::appendBlock;
using test::fillTo;
using test::inRealtime;
using test::payload;
using test::PlanarBuffers;
using test::readOne;

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

}  // namespace
}  // namespace brindlemux
