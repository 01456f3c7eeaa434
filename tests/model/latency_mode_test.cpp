#include "model/latency_mode.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "model/device_graph.h"

namespace brindlemux {
namespace {

TEST(LatencyMode, rawValueGivesItsMode) {
  EXPECT_EQ(latencyMode(64), LatencyMode::lowest);
  EXPECT_EQ(latencyMode(128), LatencyMode::low);
  EXPECT_EQ(latencyMode(256), LatencyMode::balanced);
  EXPECT_EQ(latencyMode(512), LatencyMode::safe);
}

TEST(LatencyMode, otherRawValuesGiveNone) {
  for (const std::int64_t frames : {192, 0, -64, 63, 65, 1024}) EXPECT_EQ(latencyMode(frames), std::nullopt) << frames;
}

TEST(LatencyMode, allModesAreListedFromShortToLong) {
  EXPECT_EQ(std::vector(allLatencyModes.begin(), allLatencyModes.end()),
            (std::vector{LatencyMode::lowest, LatencyMode::low, LatencyMode::balanced, LatencyMode::safe}));
}

TEST(LatencyMode, nearestOfAModeIsThatMode) {
  for (const LatencyMode mode : allLatencyModes) {
    EXPECT_EQ(nearestLatencyMode(static_cast<std::int64_t>(mode)), mode);
  }
}

TEST(LatencyMode, aTieGoesToTheSmallerFrameCount) {
  EXPECT_EQ(nearestLatencyMode(96), LatencyMode::lowest);     // 32 from 64 and from 128
  EXPECT_EQ(nearestLatencyMode(192), LatencyMode::low);       // 64 from 128 and from 256
  EXPECT_EQ(nearestLatencyMode(384), LatencyMode::balanced);  // 128 from 256 and from 512
}

TEST(LatencyMode, pastATieTheLargerWins) {
  EXPECT_EQ(nearestLatencyMode(97), LatencyMode::low);
  EXPECT_EQ(nearestLatencyMode(193), LatencyMode::balanced);
  EXPECT_EQ(nearestLatencyMode(385), LatencyMode::safe);
}

TEST(LatencyMode, anyFrameCountHasANearestMode) {
  EXPECT_EQ(nearestLatencyMode(100), LatencyMode::low);  // 36 from 64, 28 from 128
  EXPECT_EQ(nearestLatencyMode(1'000'000), LatencyMode::safe);
  EXPECT_EQ(nearestLatencyMode(0), LatencyMode::lowest);
  EXPECT_EQ(nearestLatencyMode(-5), LatencyMode::lowest);
  EXPECT_EQ(nearestLatencyMode(std::numeric_limits<std::int64_t>::max()), LatencyMode::safe);
  // 512 - f is the largest distance; it just fits.
  EXPECT_EQ(nearestLatencyMode(std::numeric_limits<std::int64_t>::min() + 513), LatencyMode::lowest);
}

TEST(LatencyModeDeathTest, aDistanceBeyondTheRangeIsFatal) {
  EXPECT_DEATH(nearestLatencyMode(std::numeric_limits<std::int64_t>::min()), "overflow of a latency distance");
  EXPECT_DEATH(nearestLatencyMode(std::numeric_limits<std::int64_t>::min() + 512), "overflow of a latency distance");
}

TEST(LatencyMode, labelsAndDescriptions) {
  EXPECT_EQ(label(LatencyMode::lowest), "Lowest (64)");
  EXPECT_EQ(label(LatencyMode::low), "Low (128)");
  EXPECT_EQ(label(LatencyMode::balanced), "Balanced (256)");
  EXPECT_EQ(label(LatencyMode::safe), "Safe (512)");
  EXPECT_EQ(description(LatencyMode::lowest), "~1.3 ms IO \xC2\xB7 possible glitches on weaker Macs");
  EXPECT_EQ(description(LatencyMode::low), "~2.7 ms IO \xC2\xB7 good balance");
  EXPECT_EQ(description(LatencyMode::balanced), "~5.3 ms IO \xC2\xB7 stable");
  EXPECT_EQ(description(LatencyMode::safe), "~10.7 ms IO \xC2\xB7 maximum stability");
}

TEST(LatencyMode, aGraphStartsBalanced) {
  EXPECT_EQ(latencyMode(DeviceGraph("uid").latencyFrames), LatencyMode::balanced);
}

}  // namespace
}  // namespace brindlemux
