#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/kernels/kernels.h"

namespace brindlemux {
namespace {

using test::inRealtime;

constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float largest = std::numeric_limits<float>::max();

float peak(const std::vector<float>& samples) {
  float result = 0;
  inRealtime([&] { result = fastestKernels().peakMagnitude(samples.data(), std::ssize(samples)); });
  return result;
}

TEST(PeakMagnitude, isTheLargestMagnitude) {
  EXPECT_EQ(peak({}), 0.0F);
  EXPECT_EQ(peak({0.5F, -0.8F, 0.3F}), 0.8F);
  EXPECT_EQ(peak({-0.0F}), 0.0F);
  EXPECT_FALSE(std::signbit(peak({-0.0F})));
  EXPECT_EQ(peak({0x1p-149F, -0x1p-148F}), 0x1p-148F);
  EXPECT_EQ(peak({1.0F, -infinity, largest}), infinity);
}

TEST(PeakMagnitude, aNaNNeverCounts) {
  for (const std::uint32_t pattern : {0x7F800001U, 0x7FC00000U, 0xFF800001U, 0xFFFFFFFFU}) {
    const float notANumber = std::bit_cast<float>(pattern);
    EXPECT_EQ(peak({notANumber}), 0.0F);
    EXPECT_EQ(peak({notANumber, 0.25F, notANumber}), 0.25F);
    EXPECT_EQ(peak({notANumber, -infinity, notANumber}), infinity);
  }
}

TEST(PeakMagnitude, findsThePeakAtEveryPlaceOfEveryLength) {
  for (std::size_t length = 1; length <= 70; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      std::vector<float> samples(length, 0.25F);
      samples[place] = place % 2 == 0 ? 2.0F : -2.0F;
      ASSERT_EQ(peak(samples), 2.0F) << place << " of " << length;
    }
  }
}

}  // namespace
}  // namespace brindlemux
