#include "app/shell/user_defaults.h"

#include <gtest/gtest.h>

#include "app/temporary_defaults.h"

namespace brindlemux {
namespace {

TEST(UserDefaults, keepEachAnswerBesideTheOther) {
  const test::TemporaryDefaults folder;
  UserDefaults defaults;
  EXPECT_FALSE(defaults.onboardingSeen());
  EXPECT_FALSE(defaults.trayNoticeSeen());
  defaults.setTrayNoticeSeen(true);
  defaults.setOnboardingSeen(true);
  EXPECT_TRUE(UserDefaults().onboardingSeen());
  EXPECT_TRUE(UserDefaults().trayNoticeSeen());
}

}  // namespace
}  // namespace brindlemux
