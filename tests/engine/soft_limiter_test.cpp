#include "engine/soft_limiter.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "engine/audio_test_support.h"

namespace brindlemux {
namespace {

using test::inRealtime;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float largest = std::numeric_limits<float>::max();

std::uint32_t bits(float sample) { return std::bit_cast<std::uint32_t>(sample); }

float limited(float sample) {
  inRealtime([&] { softLimit({&sample, 1}); });
  return sample;
}

/// The rule, one sample at a time, for magnitudes whose intermediate results stay finite.
float rule(float sample) {
  const float knee = 0.9F;
  const float range = 1.0F - knee;
  const float magnitude = sample < 0 ? -sample : sample;
  if (!(magnitude > knee)) return sample;
  const float over = (magnitude - knee) / range;
  const float curve = knee + range * over / (over + 1.0F);
  return sample < 0 ? -curve : curve;
}

TEST(SoftLimiter, theConstantsAreThese) {
  EXPECT_EQ(bits(limiterKnee), 0x3F666666U);
  EXPECT_EQ(bits(1.0F - limiterKnee), 0x3DCCCCD0U);
}

TEST(SoftLimiter, upToTheKneeNothingChanges) {
  for (const float sample : {0.0F, 0x1p-149F, 0x1p-126F, 0.5F, 0.8F, 0.89999F, 0.9F}) {
    EXPECT_EQ(bits(limited(sample)), bits(sample));
    EXPECT_EQ(bits(limited(-sample)), bits(-sample));
  }
}

TEST(SoftLimiter, beyondTheKneeTheCurveBends) {
  // u = 0.05 / 0.1 = 0.5, so 0.9 + 0.1 x 0.5 / 1.5.
  EXPECT_NEAR(limited(0.95F), 0.9 + 0.1 * 0.5 / 1.5, 1e-7);
  EXPECT_NEAR(limited(-0.95F), -(0.9 + 0.1 * 0.5 / 1.5), 1e-7);
  // u = 1: half the range.
  EXPECT_NEAR(limited(1.0F), 0.95, 1e-7);
  // u = 9: nine tenths of it.
  EXPECT_NEAR(limited(1.8F), 0.99, 1e-7);
  // u = 99.
  EXPECT_NEAR(limited(10.8F), 0.999, 1e-7);
  EXPECT_LT(limited(10.7F), 0.999F);
  EXPECT_GT(limited(10.9F), 0.999F);
}

TEST(SoftLimiter, justBeyondTheKneeItIsContinuous) {
  const float next = std::nextafter(0.9F, 1.0F);
  EXPECT_EQ(limited(next), rule(next));
  EXPECT_NEAR(limited(next), 0.9, 1.2e-7);
}

TEST(SoftLimiter, everySampleFollowsTheRuleToTheLastBit) {
  // Every exponent from the knee's to 2^100 with mantissas spread over it, in blocks whose length is odd.
  std::vector<float> samples;
  for (std::uint32_t pattern = bits(0.5F); pattern < bits(0x1p100F); pattern += 4001) {
    samples.push_back(std::bit_cast<float>(pattern));
    samples.push_back(-std::bit_cast<float>(pattern));
  }
  ASSERT_GT(samples.size(), 200000U);
  std::vector<float> result = samples;
  inRealtime([&] { softLimit(result); });
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(bits(result[i]), bits(rule(samples[i]))) << samples[i];
  }
}

TEST(SoftLimiter, theCurveFallsByNoMoreThanARoundingAndNeverPassesItsLimit) {
  constexpr float spacing = 0x1p-24F;  // of 32-bit floats just below 1
  float previous = 0;
  for (std::uint32_t pattern = bits(0.85F); pattern < bits(infinity); pattern += 10007) {
    const float result = limited(std::bit_cast<float>(pattern));
    ASSERT_GE(result, previous - spacing) << std::bit_cast<float>(pattern);
    ASSERT_LE(result, 1.0F);
    previous = result;
  }
}

TEST(SoftLimiter, whatTheFormulaCannotHoldBecomesTheLimit) {
  // The curve's limit is T + R, and in 32 bits that sum is exactly 1: R is 1 - T without rounding.
  EXPECT_EQ(bits(0.9F + (1.0F - 0.9F)), 0x3F800000U);
  for (const float sample : {infinity, largest, 0x1p127F, 0x1p124F, 0x1p65F, 0x1p64F, 0x1p63F}) {
    EXPECT_EQ(bits(limited(sample)), 0x3F800000U) << sample;
    EXPECT_EQ(bits(limited(-sample)), 0xBF800000U) << sample;
  }
  // Without the bound, the formula gives no number for the largest float.
  EXPECT_TRUE(std::isnan(rule(largest)));
}

TEST(SoftLimiter, aNaNStaysToTheLastBit) {
  for (const std::uint32_t pattern : {0x7FC00000U, 0xFFC00000U, 0x7FC12345U, 0xFFFFFFFFU}) {
    std::array<float, 3> samples = {std::bit_cast<float>(pattern), 2.0F, std::bit_cast<float>(pattern)};
    inRealtime([&] { softLimit(samples); });
    EXPECT_EQ(bits(samples[0]), pattern);
    EXPECT_EQ(bits(samples[1]), bits(rule(2.0F)));
    EXPECT_EQ(bits(samples[2]), pattern);
  }
}

TEST(SoftLimiter, aLoudSampleIsFoundAtEveryPlaceOfEveryLength) {
  for (std::size_t length = 1; length <= 140; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      std::vector<float> samples(length + 1, 0.25F);
      samples[place] = -3.0F;
      samples[length] = 5.0F;  // beyond the span
      inRealtime([&] { softLimit(std::span(samples).first(length)); });
      ASSERT_EQ(samples[place], rule(-3.0F)) << place << " of " << length;
      samples[place] = 0.25F;
      ASSERT_EQ(samples[length], 5.0F);
      samples[length] = 0.25F;
      ASSERT_EQ(samples, std::vector<float>(length + 1, 0.25F)) << place << " of " << length;
    }
  }
}

TEST(SoftLimiter, noSamplesAreNoTrouble) {
  inRealtime([] { softLimit({}); });
}

}  // namespace
}  // namespace brindlemux
