#include "engine/engine_meter.h"

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/soft_limiter.h"

namespace brindlemux {
namespace {

using test::inRealtime;
using test::PlanarBuffers;

/// The smallest sample that the limiter turns into a magnitude of at least `target`, which is below 1.
float beforeLimiting(float target) {
  std::uint32_t low = std::bit_cast<std::uint32_t>(0.0F);
  std::uint32_t high = std::bit_cast<std::uint32_t>(1e6F);
  while (low < high) {
    const std::uint32_t middle = low + (high - low) / 2;
    float sample = std::bit_cast<float>(middle);
    softLimit({&sample, 1});
    if (sample < target) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return std::bit_cast<float>(low);
}

class EngineMeterTest : public testing::Test {
 protected:
  EngineMeterTest() { setChannels(2); }

  void setChannels(std::int64_t channels) { bus_.rebuildPlans(DeviceGraph("device"), {}, channels); }

  /// Has the bus render one frame whose limited magnitudes are `peaks`.
  void mix(const std::vector<float>& peaks) {
    PlanarBuffers buffers(static_cast<std::int64_t>(peaks.size()), 1);
    for (std::size_t channel = 0; channel < peaks.size(); ++channel) {
      buffers[static_cast<std::int64_t>(channel)][0] = -beforeLimiting(peaks[channel]);
    }
    inRealtime([&] { bus_.renderVirtual(buffers.pointers(), 1); });
    for (std::size_t channel = 0; channel < peaks.size(); ++channel) {
      ASSERT_EQ(buffers[static_cast<std::int64_t>(channel)][0], -peaks[channel]);
    }
  }

  static void play(SourceRing& ring, const std::vector<float>& samples) {
    PlanarBuffers block(static_cast<std::int64_t>(samples.size()), 1);
    for (std::size_t channel = 0; channel < samples.size(); ++channel) {
      block[static_cast<std::int64_t>(channel)][0] = samples[channel];
    }
    inRealtime([&] { ring.write(block.captured()); });
  }

  MeterSnapshot snapshot() { return meter_.snapshot(sources_, bus_, loopback_.get()); }

  MixBus::Rings sources_;
  std::shared_ptr<SourceRing> loopback_ = std::make_shared<SourceRing>(2, 64);
  MixBus bus_;
  EngineMeter meter_;
};

const std::vector<float> silence(2, 0.0F);
const std::vector<bool> dark(2, false);

TEST_F(EngineMeterTest, ofAStoppedEngineNothingIsHeard) {
  bus_.clear();
  loopback_.reset();
  const MeterSnapshot quiet = snapshot();
  EXPECT_TRUE(quiet.sourcePeaks.empty());
  EXPECT_EQ(quiet.outputPeaks, silence);
  EXPECT_EQ(quiet.passThruPeaks, silence);
  EXPECT_EQ(quiet.outputClip, dark);
}

TEST_F(EngineMeterTest, ofAnEngineThatNeverRanThereAreNoChannels) {
  MixBus bus;
  EXPECT_EQ(meter_.snapshot({}, bus, loopback_.get()), MeterSnapshot{});
}

TEST_F(EngineMeterTest, sourcePeaksAreThoseOfTheirRings) {
  UUID first;
  first.bytes[0] = 1;
  UUID second;
  second.bytes[0] = 2;
  UUID failed;
  failed.bytes[0] = 3;
  sources_ = {
      {first, std::make_shared<SourceRing>(2, 64)}, {second, std::make_shared<SourceRing>(3, 64)}, {failed, nullptr}};
  play(*sources_.at(first), {0.5F, -0.8F});
  play(*sources_.at(second), {0.1F, 2.0F, -0.3F});
  const MeterSnapshot loud = snapshot();
  ASSERT_EQ(loud.sourcePeaks.size(), 2U);
  EXPECT_EQ(loud.sourcePeaks.at(first), (std::vector{0.5F, 0.8F}));
  EXPECT_EQ(loud.sourcePeaks.at(second), (std::vector{0.1F, 2.0F, 0.3F}));
  const MeterSnapshot quiet = snapshot();
  EXPECT_EQ(quiet.sourcePeaks.at(first), std::vector<float>(2, 0.0F));
  EXPECT_EQ(quiet.sourcePeaks.at(second), std::vector<float>(3, 0.0F));
}

TEST_F(EngineMeterTest, aSecondSnapshotWithoutAudioIsZeroEverywhere) {
  mix({0.25F, 0.5F});
  play(*loopback_, {0.75F, 0.125F});
  EXPECT_EQ(snapshot().outputPeaks, (std::vector{0.75F, 0.5F}));
  const MeterSnapshot quiet = snapshot();
  EXPECT_EQ(quiet.outputPeaks, silence);
  EXPECT_EQ(quiet.passThruPeaks, silence);
}

// The clip indicator

TEST_F(EngineMeterTest, aClipIsHeldForTwelveSnapshots) {
  mix({0.25F, 0.9995F});
  for (int count = 1; count <= 12; ++count) EXPECT_EQ(snapshot().outputClip, (std::vector{false, true})) << count;
  EXPECT_EQ(snapshot().outputClip, dark);
  EXPECT_EQ(snapshot().outputClip, dark);
}

TEST_F(EngineMeterTest, aFurtherClipStartsTheHoldAgain) {
  mix({0.9995F, 0.0F});
  for (int count = 1; count <= 5; ++count) snapshot();
  mix({0.9995F, 0.0F});
  for (int count = 1; count <= 12; ++count) EXPECT_TRUE(snapshot().outputClip[0]) << count;
  EXPECT_FALSE(snapshot().outputClip[0]);
}

TEST_F(EngineMeterTest, theClipThresholdItselfCounts) {
  ASSERT_EQ(std::bit_cast<std::uint32_t>(0.999F), 0x3F7FBE77U);
  mix({0.999F, std::nextafter(0.999F, 0.0F)});
  EXPECT_EQ(snapshot().outputClip, (std::vector{true, false}));
}

TEST_F(EngineMeterTest, belowTheThresholdNothingLights) {
  mix({0.9989F, 0.5F});
  EXPECT_EQ(snapshot().outputClip, dark);
}

TEST_F(EngineMeterTest, theLoopBackDoesNotClip) {
  play(*loopback_, {2.0F, 2.0F});
  EXPECT_EQ(snapshot().outputClip, dark);
}

TEST_F(EngineMeterTest, anotherChannelCountStartsTheHoldAndTheMemoryAnew) {
  mix({0.9995F, 0.9995F});
  EXPECT_EQ(snapshot().outputClip, std::vector<bool>(2, true));
  setChannels(4);
  play(*loopback_, {0.5F, 0.5F});
  const MeterSnapshot wide = snapshot();
  EXPECT_EQ(wide.outputClip, std::vector<bool>(4, false));
  // A remembered mix of 0.9995 x 0.7 would take 0.5 for its own.
  EXPECT_EQ(wide.passThruPeaks, (std::vector{0.5F, 0.5F, 0.0F, 0.0F}));
}

// What other applications play

TEST_F(EngineMeterTest, theEnginesOwnMixComingBackIsNotForeign) {
  mix({0.5F, 0.25F});
  play(*loopback_, {0.5F, -0.25F});
  const MeterSnapshot own = snapshot();
  EXPECT_EQ(own.outputPeaks, (std::vector{0.5F, 0.25F}));
  EXPECT_EQ(own.passThruPeaks, silence);
}

TEST_F(EngineMeterTest, withinTheMarginTheLoopBackIsOnlyAnOutputPeak) {
  // 0.5 x 1.6 + 0.015 = 0.815.
  mix({0.5F, 0.5F});
  play(*loopback_, {0.8F, 0.82F});
  const MeterSnapshot both = snapshot();
  EXPECT_EQ(both.outputPeaks, (std::vector{0.8F, 0.82F}));
  EXPECT_EQ(both.passThruPeaks, (std::vector{0.0F, 0.82F}));
}

TEST_F(EngineMeterTest, theMarginItselfIsNotForeign) {
  mix({0.5F, 0.5F});
  const float margin = 0.5F * 1.6F + 0.015F;
  play(*loopback_, {margin, std::nextafter(margin, 1.0F)});
  EXPECT_EQ(snapshot().passThruPeaks, (std::vector{0.0F, std::nextafter(margin, 1.0F)}));
}

TEST_F(EngineMeterTest, inSilenceTheFloorDecides) {
  play(*loopback_, {0.015F, 0.016F});
  const MeterSnapshot quiet = snapshot();
  EXPECT_EQ(quiet.passThruPeaks, (std::vector{0.0F, 0.016F}));
  EXPECT_EQ(quiet.outputPeaks, (std::vector{0.015F, 0.016F}));
}

TEST_F(EngineMeterTest, theMemoryOfTheMixDecaysWithEverySnapshot) {
  mix({0.5F, 0.5F});
  snapshot();
  // 0.5 x 0.7 = 0.35, and 0.35 x 1.6 + 0.015 = 0.575.
  play(*loopback_, {0.57F, 0.58F});
  EXPECT_EQ(snapshot().passThruPeaks, (std::vector{0.0F, 0.58F}));
  // 0.35 x 0.7 = 0.245, and 0.245 x 1.6 + 0.015 = 0.407.
  play(*loopback_, {0.40F, 0.41F});
  EXPECT_EQ(snapshot().passThruPeaks, (std::vector{0.0F, 0.41F}));
}

TEST_F(EngineMeterTest, aQuieterMixDoesNotLowerTheMemoryAtOnce) {
  mix({0.5F, 0.5F});
  snapshot();
  mix({0.1F, 0.4F});
  // Remembered: 0.35 and 0.4, so the margins are 0.575 and 0.655.
  play(*loopback_, {0.58F, 0.64F});
  EXPECT_EQ(snapshot().passThruPeaks, (std::vector{0.58F, 0.0F}));
}

TEST_F(EngineMeterTest, onlyTheChannelsThatBothHaveAreCompared) {
  loopback_ = std::make_shared<SourceRing>(1, 64);
  play(*loopback_, {0.5F});
  EXPECT_EQ(snapshot().passThruPeaks, (std::vector{0.5F, 0.0F}));
  loopback_ = std::make_shared<SourceRing>(4, 64);
  play(*loopback_, {0.1F, 0.2F, 0.3F, 0.4F});
  EXPECT_EQ(snapshot().outputPeaks, (std::vector{0.1F, 0.2F}));
}

TEST_F(EngineMeterTest, withoutALoopBackTheMixAloneIsShown) {
  loopback_.reset();
  mix({0.5F, 0.25F});
  const MeterSnapshot alone = snapshot();
  EXPECT_EQ(alone.outputPeaks, (std::vector{0.5F, 0.25F}));
  EXPECT_EQ(alone.passThruPeaks, silence);
}

}  // namespace
}  // namespace brindlemux
