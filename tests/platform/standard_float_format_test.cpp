#include "platform/standard_float_format.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>

namespace brindlemux {
namespace {

struct Expected {
  std::int64_t requested;
  std::int64_t channels;
  std::uint32_t layoutTag;

  friend void PrintTo(const Expected& expected, std::ostream* stream) {
    *stream << expected.requested << " channels asked for";
  }
};

class StandardFloatFormatChannels : public testing::TestWithParam<Expected> {};

TEST_P(StandardFloatFormatChannels, clampsTheCountAndChoosesTheLayout) {
  const auto format = standardFloatFormat(48000, GetParam().requested);
  ASSERT_TRUE(format.has_value());
  EXPECT_EQ(format->sampleRateHz, 48000);
  EXPECT_EQ(format->channels, GetParam().channels);
  EXPECT_EQ(format->layoutTag(), GetParam().layoutTag);
}

INSTANTIATE_TEST_SUITE_P(Counts, StandardFloatFormatChannels,
                         testing::Values(Expected{std::numeric_limits<std::int64_t>::min(), 1, 0}, Expected{0, 1, 0},
                                         Expected{1, 1, 0}, Expected{2, 2, 0}, Expected{3, 3, 0x930003},
                                         Expected{16, 16, 0x930010}, Expected{17, 16, 0x930010},
                                         Expected{40, 16, 0x930010}));

TEST(StandardFloatFormat, keepsTheRate) { EXPECT_EQ(standardFloatFormat(44100, 2)->sampleRateHz, 44100); }

TEST(StandardFloatFormat, rateThatIsNotPositiveAndFiniteGivesNothing) {
  EXPECT_FALSE(standardFloatFormat(0, 2));
  EXPECT_FALSE(standardFloatFormat(-48000, 2));
  EXPECT_FALSE(standardFloatFormat(std::nan(""), 2));
  EXPECT_FALSE(standardFloatFormat(std::numeric_limits<double>::infinity(), 2));
}

}  // namespace
}  // namespace brindlemux
