#include "histories/shrinker.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindlemux::history {
namespace {

using testing::HasSubstr;

/// A run that fails from a length on.
struct FailsFrom {
  std::int64_t first = 0;
  std::int64_t* runs = nullptr;

  std::optional<Failure> operator()(std::int64_t steps) const {
    ++*runs;
    if (steps < first) return std::nullopt;
    return Failure{7, first, "step", "why"};
  }
};

TEST(Shrinker, findsTheShortestPrefixInFewRuns) {
  for (const std::int64_t first : {0, 1, 2, 3, 64, 65, 777, 9999, 10000}) {
    std::int64_t runs = 0;
    const Failure shortest = shortestFailure(FailsFrom{first, &runs}, {7, 10000, "the end", "why"});
    EXPECT_EQ(shortest.steps, first);
    // 15 doublings and 13 halvings.
    EXPECT_LE(runs, 28) << first;
  }
}

TEST(Shrinker, takesAnEarlyFailureThatLaterStepsHide) {
  const auto run = [](std::int64_t steps) -> std::optional<Failure> {
    if (steps == 6 || steps == 7 || steps == 8 || steps == 5000) return Failure{7, steps, "the end", "silence"};
    return std::nullopt;
  };
  EXPECT_EQ(shortestFailure(run, {7, 5000, "the end", "silence"}).steps, 6);
}

TEST(Shrinker, keepsAKnownFailureThatDoesNotShowAgain) {
  const auto passes = [](std::int64_t) -> std::optional<Failure> { return std::nullopt; };
  EXPECT_EQ(shortestFailure(passes, {7, 100, "the end", "why"}).steps, 100);
}

TEST(Shrinker, describesHowToSeeTheFailureAgain) {
  EXPECT_THAT(description({7, 12, "step 12", "too loud"}),
              testing::AllOf(HasSubstr("seed 7"), HasSubstr("first 12 steps"), HasSubstr("too loud"),
                             HasSubstr("--first-seed 7 --seeds 1 --steps 12")));
}

// A real history with an invariant that does not hold: the prefix ends with the step that breaks it.
TEST(Shrinker, shrinksAHistoryThatBreaksAnInvariant) {
  const Invariant atMostThreeSources = [](const History& history) -> std::optional<std::string> {
    for (const Routing& routing : history.routings()) {
      if (routing.graph.sources.size() > 3) return "four sources in " + routing.uid;
    }
    return std::nullopt;
  };
  const auto run = [&](std::int64_t steps) { return runHistory(3, steps, atMostThreeSources); };
  const auto known = run(2000);
  ASSERT_TRUE(known);
  EXPECT_THAT(known->why, HasSubstr("four sources"));
  const Failure shortest = shortestFailure(run, *known);
  EXPECT_EQ(shortest.steps, known->steps);
  EXPECT_FALSE(run(shortest.steps - 1));
  const auto again = run(shortest.steps);
  ASSERT_TRUE(again);
  EXPECT_EQ(again->why, shortest.why);
}

}  // namespace
}  // namespace brindlemux::history
