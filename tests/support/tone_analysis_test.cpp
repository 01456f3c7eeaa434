#include "support/tone_analysis.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace brindlemux::test {
namespace {

TEST(ToneAnalysis, findsTheLevelOfALoneToneAtAnyFrequency) {
  // 20 log10(0.5) = -6.0206 dB; none of the frequencies but the first has whole periods in 4801 frames.
  for (const double frequencyHz : {480.0, 441.3, 997.0, 12345.6, 20000.0}) {
    EXPECT_NEAR(toneLevelDb(sineTone(4801, frequencyHz, 0.5, 48000), frequencyHz, 48000), 20 * std::log10(0.5), 1e-5);
  }
}

TEST(ToneAnalysis, phaseDoesNotMatter) {
  const auto tone = sineTone(10000, 1000, 0.25, 48000);
  for (const std::size_t start : {0u, 1u, 12u, 24u, 37u}) {
    EXPECT_NEAR(toneAmplitude(std::span(tone).subspan(start, 9000), 1000, 48000), 0.25, 1e-7);
  }
}

TEST(ToneAnalysis, anOffsetIsNotPartOfTheTone) {
  auto tone = sineTone(4800, 1000, 0.25, 48000);
  for (float& sample : tone) sample += 0.5f;
  EXPECT_NEAR(toneAmplitude(tone, 1000, 48000), 0.25, 1e-6);
}

TEST(ToneAnalysis, anotherToneDisturbsByLessThanOnePartIn20000) {
  // 4800 frames are 0.1 s: 80 Hz are 8 periods.
  auto signal = sineTone(4800, 1000, 0.1, 48000);
  const auto other = sineTone(4800, 1080, 1.0, 48000);
  for (std::size_t i = 0; i < signal.size(); ++i) signal[i] += other[i];
  EXPECT_NEAR(toneAmplitude(signal, 1000, 48000), 0.1, 1.0 / 20000);
  EXPECT_LT(toneAmplitude(other, 1000, 48000), 1.0 / 20000);
}

TEST(ToneAnalysis, aDifferenceOfAThousandthOfADecibelIsSeen) {
  // 0.5 * 10^(0.001 / 20)
  const double louder = 0.5 * std::pow(10.0, 0.001 / 20);
  const double difference = toneLevelDb(sineTone(4800, 997, louder, 48000), 997, 48000) -
                            toneLevelDb(sineTone(4800, 997, 0.5, 48000), 997, 48000);
  EXPECT_NEAR(difference, 0.001, 1e-5);
}

TEST(ToneAnalysis, silenceIsMinusInfinity) {
  EXPECT_EQ(toneLevelDb(std::vector<float>(4800), 1000, 48000), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(toneAmplitude({}, 1000, 48000), 0.0);
}

}  // namespace
}  // namespace brindlemux::test
