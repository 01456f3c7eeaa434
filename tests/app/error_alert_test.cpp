#include <QList>
#include <QQuickItem>
#include <QTest>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
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

/// The sheets that are open, the uppermost last.
QList<QQuickItem*> openSheets(const OpenWindow& open) {
  const auto layers = open.window()->contentItem()->parentItem() != nullptr
                          ? open.window()->contentItem()->parentItem()->childItems()
                          : open.window()->contentItem()->childItems();
  for (QQuickItem* layer : layers) {
    if (!layer->inherits("QQuickOverlay")) continue;
    QList<QQuickItem*> sheets;
    for (QQuickItem* sheet : layer->childItems()) {
      if (sheet->inherits("QQuickPopupItem") && sheet->isVisible()) sheets.append(sheet);
    }
    std::ranges::stable_sort(sheets, {}, &QQuickItem::z);
    return sheets;
  }
  return {};
}

/// Has Escape close the sheets one after the other; how many there were. The keyboard is always in the uppermost one.
int closeSheets(const OpenWindow& open) {
  int closed = 0;
  for (auto sheets = openSheets(open); !sheets.isEmpty(); sheets = openSheets(open)) {
    const auto hasKeyboard = [&] {
      const QQuickItem* focus = open.window()->activeFocusItem();
      return focus != nullptr && sheets.constLast()->isAncestorOf(focus);
    };
    EXPECT_TRUE(eventually(hasKeyboard)) << "sheet " << sheets.size();
    open.press(Qt::Key_Escape);
    if (!eventually([&] { return openSheets(open).size() == sheets.size() - 1; })) break;
    ++closed;
  }
  return closed;
}

TEST(ErrorAlert, isThereInAWindowThatOpensLaterAndSoAreTheSettings) {
  OpenWindow open({device("A")});
  open.app.reset();
  open.state->setSettingsSheetUID(device("A").uid);
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  open.app = std::make_unique<BrindlemuxApp>(*open.state, *open.userDefaults, open.scheduler, test::noBus());
  ASSERT_TRUE(open.app->openWindow());
  ASSERT_TRUE(QTest::qWaitForWindowActive(open.window()));
  ASSERT_TRUE(eventually([&] { return open.shows("errorAlert.message") && open.shows("settings.close"); }));
  EXPECT_EQ(open.text("errorAlert.message"), "Creating input IOProc failed (OSStatus -1)");
  EXPECT_TRUE(openSheets(open).constLast()->isAncestorOf(open.item("errorAlert.message")));
  EXPECT_EQ(closeSheets(open), 2);
  EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  EXPECT_EQ(open.state->settingsSheetUID(), std::nullopt);
}

TEST(ErrorAlert, isThereAtAFirstStartAndSoAreThePages) {
  OpenWindow open({device("A")});
  open.app.reset();
  open.userDefaults->setOnboardingSeen(false);
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  open.app = std::make_unique<BrindlemuxApp>(*open.state, *open.userDefaults, open.scheduler, test::noBus());
  ASSERT_TRUE(open.app->openWindow());
  ASSERT_TRUE(QTest::qWaitForWindowActive(open.window()));
  ASSERT_TRUE(eventually([&] { return open.shows("errorAlert.message") && open.shows("onboarding.next"); }));
  EXPECT_TRUE(openSheets(open).constLast()->isAncestorOf(open.item("errorAlert.message")));
  EXPECT_EQ(closeSheets(open), 2);
  EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  EXPECT_TRUE(open.userDefaults->onboardingSeen());
}

}  // namespace
}  // namespace brindlemux
