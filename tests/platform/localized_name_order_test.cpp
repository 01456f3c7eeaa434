#include "platform/localized_name_order.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brindlemux {
namespace {

TEST(LocalizedNameOrder, letterCaseDoesNotCount) {
  const LocalizedNameOrder precedes;
  EXPECT_FALSE(precedes("Player", "player"));
  EXPECT_FALSE(precedes("player", "Player"));
}

// By code points "Zebra" < "apple" < "Öl"; people put them apple, Öl, Zebra.
TEST(LocalizedNameOrder, sortsAsPeopleDo) {
  const LocalizedNameOrder precedes;
  std::vector<std::string> names = {"Zebra", "Öl", "apple", "ocean"};
  std::stable_sort(names.begin(), names.end(), std::cref(precedes));
  EXPECT_THAT(names, testing::ElementsAre("apple", "ocean", "Öl", "Zebra"));
}

TEST(LocalizedNameOrder, accentsTellNamesApart) {
  const LocalizedNameOrder precedes;
  EXPECT_TRUE(precedes("resume", "résumé"));
  EXPECT_FALSE(precedes("résumé", "resume"));
}

}  // namespace
}  // namespace brindlemux
