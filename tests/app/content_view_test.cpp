#include <QAccessible>
#include <QFont>
#include <algorithm>
#include <gtest/gtest.h>

#include "app/open_window.h"
#include "app/shown.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;
using test::shownSymbols;

TEST(ContentView, laysOutSidebarDividerAndDetail) {
  const OpenWindow open({device("A")});
  const QQuickItem* detail = open.item("detailArea");
  ASSERT_NE(detail, nullptr);
  // The sidebar's 248 and the divider.
  EXPECT_EQ(detail->mapToScene({0, 0}), QPointF(249, 0));
  EXPECT_EQ(detail->width(), 1440 - 249);
  EXPECT_EQ(detail->height(), 900);
}

TEST(ContentView, saysThatTheDriverIsMissing) {
  OpenWindow open;
  EXPECT_TRUE(open.shows("driverMissing"));
  EXPECT_EQ(open.text("driverMissing.title"), "Driver Not Installed");
  EXPECT_EQ(open.text("driverMissing.command"), "./scripts/build-driver.sh && sudo ./scripts/install-driver.sh");
  EXPECT_EQ(open.text("driverMissing.checkAgain"), "Check Again");
  EXPECT_EQ(shownSymbols(*open.item("driverMissing")), std::vector<std::string>{"exclamationmark.triangle.fill"});
  const auto font = [&](const char* name) { return open.item(name)->property("font").value<QFont>(); };
  EXPECT_EQ(font("driverMissing.title").weight(), QFont::Bold);
  EXPECT_EQ(font("driverMissing.title").pixelSize(), 15);
  EXPECT_EQ(font("driverMissing.command").family(), "monospace");
  EXPECT_EQ(font("driverMissing.command").pixelSize(), 12);
  EXPECT_TRUE(open.item("driverMissing.checkAgain")->property("prominent").toBool());
  EXPECT_FALSE(open.shows("emptyState"));
  open.hardware.installDriver({device("A")});
  open.click("driverMissing.checkAgain");
  EXPECT_TRUE(open.state->driverInstalled());
  EXPECT_FALSE(open.shows("driverMissing"));
}

TEST(ContentView, checkAgainStaysWhereTheDriverIsStillMissing) {
  const OpenWindow open;
  open.click("driverMissing.checkAgain");
  EXPECT_TRUE(open.shows("driverMissing"));
  EXPECT_FALSE(open.shows("errorAlert.message"));
}

TEST(ContentView, missingDriverGoesBeforeTheSelection) {
  OpenWindow open({device("A")});
  EXPECT_FALSE(open.shows("driverMissing"));
  open.hardware.uninstallDriver();
  open.state->refreshEnvironment();
  EXPECT_EQ(open.state->selectedDeviceUID(), device("A").uid);
  EXPECT_TRUE(open.shows("driverMissing"));
}

TEST(ContentView, emptyStateMakesADevice) {
  const OpenWindow open(std::vector<VirtualDeviceConfig>{});
  ASSERT_TRUE(open.shows("emptyState"));
  EXPECT_EQ(open.text("emptyState.text"), "Select or create a virtual device");
  EXPECT_EQ(open.text("emptyState.create"), "New Virtual Device");
  EXPECT_EQ(shownSymbols(*open.item("emptyState")), std::vector<std::string>{"waveform.circle"});
  open.click("emptyState.create");
  ASSERT_EQ(open.state->virtualDevices().size(), 1U);
  EXPECT_EQ(open.state->virtualDevices().front().name, "Brindlemux Device 1");
  EXPECT_TRUE(eventually([&] { return !open.shows("emptyState"); }));
}

TEST(ContentView, selectionThatNoDeviceHasShowsTheEmptyState) {
  const OpenWindow open({device("A")});
  EXPECT_FALSE(open.shows("emptyState"));
  open.state->setSelectedDeviceUID("BrindlemuxAudio_UID_gone");
  EXPECT_TRUE(open.shows("emptyState"));
}

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

/// Every item that the keyboard reaches in the window, in the order of Tab.
std::vector<QQuickItem*> tabOrder(const OpenWindow& open) {
  std::vector<QQuickItem*> order;
  while (true) {
    open.press(Qt::Key_Tab);
    QQuickItem* item = open.window()->activeFocusItem();
    if (item == nullptr || std::ranges::find(order, item) != order.end()) return order;
    order.push_back(item);
  }
}

TEST(Accessibility, everythingThatTheKeyboardReachesHasANameAndARole) {
  QAccessible::setActive(true);
  OpenWindow open({device("A"), device("B")});
  const auto check = [&open](const char* what) {
    const std::vector<QQuickItem*> order = tabOrder(open);
    EXPECT_GT(order.size(), 1U) << what;
    for (QQuickItem* item : order) {
      QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(item);
      const std::string name = item->objectName().toStdString() + " in " + what;
      ASSERT_NE(accessible, nullptr) << name;
      EXPECT_NE(accessible->text(QAccessible::Name), "") << name;
      EXPECT_NE(accessible->role(), QAccessible::NoRole) << name;
      EXPECT_NE(accessible->role(), QAccessible::Client) << name;
    }
  };
  check("the window");
  open.state->setSettingsSheetUID(device("A").uid);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  check("the settings");
  for (int row = 0; row < 4; ++row) {
    QAccessibleInterface* mode =
        QAccessible::queryAccessibleInterface(open.item("settings.mode." + std::to_string(row)));
    EXPECT_EQ(mode->role(), QAccessible::RadioButton);
    // A new graph's 256.
    EXPECT_EQ(mode->state().checked, row == 2);
  }
  for (const QString& action :
       {QAccessibleActionInterface::toggleAction(), QAccessibleActionInterface::pressAction()}) {
    const int row = action == QAccessibleActionInterface::pressAction() ? 3 : 0;
    QAccessible::queryAccessibleInterface(open.item("settings.mode." + std::to_string(row)))
        ->actionInterface()
        ->doAction(action);
    EXPECT_EQ(open.state->graph(device("A").uid).latencyFrames, row == 3 ? 512 : 64);
  }
  open.press(Qt::Key_Escape);
  ASSERT_TRUE(eventually([&] { return !open.shows("settings.close"); }));
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("errorAlert.dismiss"); }));
  QAccessibleInterface* alert = QAccessible::queryAccessibleInterface(open.item("errorAlert.message"));
  EXPECT_EQ(alert->role(), QAccessible::AlertMessage);
  EXPECT_EQ(alert->text(QAccessible::Name), "Creating input IOProc failed (OSStatus -1)");
}

TEST(Accessibility, pagesOfTheFirstStartSayWhatTheyShow) {
  QAccessible::setActive(true);
  OpenWindow open({device("A")}, OpenWindow::Start::first);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("onboarding.next"); }));
  const auto name = [&open](const std::string& item) {
    return QAccessible::queryAccessibleInterface(open.item(item))->text(QAccessible::Name);
  };
  EXPECT_EQ(name("onboarding.skip"), "Skip");
  EXPECT_EQ(name("onboarding.next"), "Next");
  EXPECT_EQ(name("onboarding.dots"), "Page 1 of 4");
  EXPECT_EQ(name("onboarding.page.0"), "Welcome to Brindlemux");
  EXPECT_FALSE(
      QAccessible::queryAccessibleInterface(open.item("onboarding.page.0"))->text(QAccessible::Description).isEmpty());
  open.press(Qt::Key_Right);
  EXPECT_EQ(name("onboarding.dots"), "Page 2 of 4");
}

}  // namespace
}  // namespace brindlemux
