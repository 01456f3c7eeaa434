#include <gtest/gtest.h>
#include <optional>

#include "app/open_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;

TEST(ErrorAlert, showsUntilItIsDismissedByItsButton) {
  OpenWindow open({device("A")});
  EXPECT_FALSE(open.shows("errorAlert.message"));
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("errorAlert.dismiss"); }));
  EXPECT_EQ(open.text("errorAlert.title"), "Error");
  EXPECT_EQ(open.text("errorAlert.message"), "Creating input IOProc failed (OSStatus -1)");
  open.click("errorAlert.dismiss");
  EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  EXPECT_FALSE(open.shows("errorAlert.message"));
  // Read and dismissed, the same trouble is told again.
  AppStateProbe::restartAllEngines(*open.state);
  EXPECT_TRUE(eventually([&] { return open.shows("errorAlert.message"); }));
}

TEST(ErrorAlert, keysDismissIt) {
  for (const Qt::Key key : {Qt::Key_Escape, Qt::Key_Return, Qt::Key_Space}) {
    OpenWindow open({device("A")});
    open.hardware.journal().failEvery("createIOProc", -1);
    AppStateProbe::restartAllEngines(*open.state);
    ASSERT_TRUE(eventually([&] { return open.hasFocus("errorAlert.dismiss"); }));
    open.press(key);
    EXPECT_TRUE(eventually([&] { return !open.shows("errorAlert.message"); })) << key;
    EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  }
}

TEST(ErrorAlert, standsAboveAnOpenSheet) {
  OpenWindow open({device("A")});
  open.state->setSettingsSheetUID(device("A").uid);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("errorAlert.dismiss"); }));
  open.press(Qt::Key_Escape);
  // One key closes one of them, and the other has the keyboard again.
  EXPECT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  EXPECT_EQ(open.state->settingsSheetUID(), device("A").uid);
}

}  // namespace
}  // namespace brindlemux
