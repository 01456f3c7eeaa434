#include <QAccessible>
#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "app/open_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;

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
