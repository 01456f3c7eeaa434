#include <gtest/gtest.h>

#include "histories/shrinker.h"

namespace brindlemux::history {
namespace {

/// A history of its own for each seed. scripts/histories.sh runs as many as one likes.
class Histories : public testing::TestWithParam<std::uint64_t> {};

TEST_P(Histories, runWhatTheGraphsAskForAndEndInSound) {
  const std::uint64_t seed = GetParam();
  const auto failure = runHistory(seed, 10000);
  if (!failure) return;
  FAIL() << description(shortestFailure([seed](std::int64_t steps) { return runHistory(seed, steps); }, *failure));
}

INSTANTIATE_TEST_SUITE_P(Seeds, Histories, testing::Range<std::uint64_t>(1, 5));

// The choices of a step follow from the seed and its number.
TEST(HistoryRandom, isTheSameEverywhere) {
  Random random(1, 2);
  EXPECT_EQ(random.next(), Random(1, 2).next());
  EXPECT_NE(Random(1, 2).next(), Random(1, 3).next());
  EXPECT_NE(Random(1, 2).next(), Random(2, 2).next());
  // The first two numbers of SplitMix64 from state 0.
  EXPECT_EQ(scattered(0), 0xE220A8397B1DCDAFU);
  EXPECT_EQ(scattered(0x9E3779B97F4A7C15U), 0x6E789E6AA1B965F4U);
}

}  // namespace
}  // namespace brindlemux::history
