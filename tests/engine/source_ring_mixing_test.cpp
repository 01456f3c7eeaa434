#include <array>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
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
using test::writePlanar;

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
