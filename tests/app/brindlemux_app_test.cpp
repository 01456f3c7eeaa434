#include "app/shell/brindlemux_app.h"

#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/open_window.h"
#include "app/tray/fake_notifications.h"
#include "app/tray/fake_tray.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::FakeTray;
using test::OpenWindow;

/// Runs the event loop until the program ends it; whether it did.
bool endsWhen(const std::function<void()>& action) {
  QTimer::singleShot(0, qApp, action);
  QTimer deadline;
  QObject::connect(&deadline, &QTimer::timeout, [] { QCoreApplication::exit(1); });
  deadline.start(std::chrono::seconds(20));
  return QGuiApplication::exec() == 0;
}

/// The program on a desktop that has a tray.
struct Desktop {
  explicit Desktop(const std::vector<VirtualDeviceConfig>& devices = {device("A"), device("B")})
      : open(devices, OpenWindow::Start::later, bus.connect()) {
    if (!eventually([this] { return open.app->tray().isShown(); })) throw std::runtime_error("nothing in the tray");
  }

  void closeWindow() {
    open.window()->close();
    ASSERT_TRUE(eventually([this] { return open.window() == nullptr; }));
  }
  bool isEnabled(const char* name) const { return open.state->graph(device(name).uid).enabled; }

  test::PrivateBus bus;
  std::unique_ptr<FakeTray> tray = std::make_unique<FakeTray>(bus.connect());
  OpenWindow open;
};

TEST(BrindlemuxApp, closingTheWindowEndsTheProgramWithoutATray) {
  const OpenWindow open;
  EXPECT_TRUE(endsWhen([&open] { open.window()->close(); }));
}

TEST(BrindlemuxApp, requestOfTheSessionEndsTheProgramWithTheWindowOpen) {
  const OpenWindow open;
  EXPECT_TRUE(endsWhen([] { QCoreApplication::quit(); }));
  // Nobody has closed it.
  EXPECT_NE(open.window(), nullptr);
}

TEST(BrindlemuxApp, menuHasASwitchForEveryDevice) {
  const Desktop desktop;
  EXPECT_EQ(desktop.tray->lines(), (QStringList{"[x] A", "[x] B", "-", "Open Brindlemux", "Quit Brindlemux"}));
}

TEST(BrindlemuxApp, menuSaysThatThereAreNoDevices) {
  const Desktop desktop(std::vector<VirtualDeviceConfig>{});
  EXPECT_EQ(desktop.tray->lines(), (QStringList{"(No virtual devices)", "-", "Open Brindlemux", "Quit Brindlemux"}));
}

TEST(BrindlemuxApp, menuSwitchesDevicesAndSaves) {
  Desktop desktop;
  desktop.tray->choose("B");
  ASSERT_TRUE(eventually([&] { return !desktop.isEnabled("B"); }));
  EXPECT_TRUE(desktop.isEnabled("A"));
  EXPECT_EQ(desktop.tray->lines().mid(0, 2), (QStringList{"[x] A", "[ ] B"}));
  desktop.open.state->waitUntilSaved();
  EXPECT_FALSE(desktop.open.graphStore.load().at(device("B").uid).enabled);
  desktop.tray->choose("B");
  ASSERT_TRUE(eventually([&] { return desktop.isEnabled("B"); }));
  EXPECT_EQ(desktop.tray->lines().mid(0, 2), (QStringList{"[x] A", "[x] B"}));
}

TEST(BrindlemuxApp, switchingADeviceRefreshesTheEnvironment) {
  Desktop desktop;
  int refreshes = 0;
  QObject::connect(desktop.open.state.get(), &AppState::processesChanged, [&refreshes] { ++refreshes; });
  desktop.tray->choose("A");
  ASSERT_TRUE(eventually([&] { return !desktop.isEnabled("A"); }));
  EXPECT_TRUE(eventually([&] { return refreshes == 1; }));
}

TEST(BrindlemuxApp, menuFollowsTheDevices) {
  Desktop desktop;
  const int updates = desktop.tray->layoutUpdates();
  // A refresh that finds everything as it was is not announced.
  desktop.open.state->reload();
  VirtualDeviceConfig renamed = device("A");
  renamed.name = "Renamed";
  desktop.open.publish({device("C"), renamed});
  desktop.open.state->reload();
  ASSERT_TRUE(eventually([&] { return desktop.tray->layoutUpdates() > updates; }));
  EXPECT_EQ(desktop.tray->lines().mid(0, 2), (QStringList{"[x] C", "[x] Renamed"}));
  EXPECT_EQ(desktop.tray->layoutUpdates(), updates + 1);
  desktop.tray->choose("Renamed");
  ASSERT_TRUE(eventually([&] { return !desktop.isEnabled("A"); }));
  EXPECT_TRUE(desktop.isEnabled("C"));
}

TEST(BrindlemuxApp, closedWindowLeavesTheRoutesRunningAndIsOpenedFromTheMenu) {
  Desktop desktop;
  const std::size_t engines = AppStateProbe::engineCount(*desktop.open.state);
  ASSERT_EQ(engines, 2U);
  desktop.closeWindow();
  EXPECT_EQ(AppStateProbe::engineCount(*desktop.open.state), engines);
  desktop.tray->choose("Open Brindlemux");
  ASSERT_TRUE(eventually([&] { return desktop.open.window() != nullptr; }));
  EXPECT_TRUE(QTest::qWaitForWindowActive(desktop.open.window()));
  EXPECT_TRUE(eventually([&] { return desktop.open.shows("device." + device("A").uid); }));
}

TEST(BrindlemuxApp, openWindowIsRaisedAndNotMadeAgain) {
  Desktop desktop;
  QQuickWindow* window = desktop.open.window();
  const std::function<void()> ways[] = {[&] { desktop.tray->clickIcon(); },
                                        [&] { desktop.tray->choose("Open Brindlemux"); }};
  for (const auto& way : ways) {
    window->showMinimized();
    way();
    EXPECT_TRUE(eventually([&] { return (window->windowStates() & Qt::WindowMinimized) == 0; }));
    EXPECT_EQ(desktop.open.window(), window);
  }
}

TEST(BrindlemuxApp, windowClosedAndOpenedAtOnceIsANewOne) {
  Desktop desktop;
  desktop.open.window()->close();
  EXPECT_TRUE(desktop.open.app->openWindow());
  ASSERT_NE(desktop.open.window(), nullptr);
  bool later = false;
  QMetaObject::invokeMethod(
      qApp, [&later] { later = true; }, Qt::QueuedConnection);
  ASSERT_TRUE(eventually([&] { return later; }));
  EXPECT_NE(desktop.open.window(), nullptr);
}

TEST(BrindlemuxApp, quitOfTheMenuEndsTheProgram) {
  Desktop desktop;
  EXPECT_TRUE(endsWhen([&desktop] { desktop.tray->choose("Quit Brindlemux"); }));
}

TEST(BrindlemuxApp, quitOfTheMenuEndsTheProgramWithoutAWindow) {
  Desktop desktop;
  desktop.closeWindow();
  EXPECT_TRUE(endsWhen([&desktop] { desktop.tray->choose("Quit Brindlemux"); }));
}

TEST(BrindlemuxApp, saysOnceThatItGoesOnInTheTray) {
  Desktop desktop;
  const test::FakeNotifications notifications(desktop.bus.connect());
  desktop.closeWindow();
  ASSERT_TRUE(eventually([&] { return notifications.summaries.size() == 1; }));
  ASSERT_TRUE(eventually([&] { return UserDefaults().trayNoticeSeen(); }));
  desktop.open.app->openWindow();
  desktop.closeWindow();
  // A message that is sent behind it would come after it.
  desktop.tray->lines();
  EXPECT_EQ(notifications.summaries, QStringList{"Brindlemux keeps running"});
}

TEST(BrindlemuxApp, saysItNextTimeWhereNobodyShowedIt) {
  Desktop desktop;
  desktop.closeWindow();
  desktop.tray->lines();
  EXPECT_FALSE(UserDefaults().trayNoticeSeen());
  const test::FakeNotifications notifications(desktop.bus.connect());
  desktop.open.app->openWindow();
  desktop.closeWindow();
  EXPECT_TRUE(eventually([&] { return notifications.summaries.size() == 1; }));
}

TEST(BrindlemuxApp, windowComesBackWhenTheTrayStaysAway) {
  Desktop desktop;
  desktop.closeWindow();
  desktop.tray.reset();
  ASSERT_TRUE(eventually([&] { return !desktop.open.app->tray().isShown(); }));
  desktop.open.advance(BrindlemuxApp::trayPatience - std::chrono::milliseconds(1));
  EXPECT_EQ(desktop.open.window(), nullptr);
  desktop.open.advance(std::chrono::milliseconds(1));
  ASSERT_NE(desktop.open.window(), nullptr);
  // From here on it is as without a tray.
  EXPECT_TRUE(endsWhen([&desktop] { desktop.open.window()->close(); }));
}

TEST(BrindlemuxApp, windowStaysClosedWhenTheTrayReturns) {
  Desktop desktop;
  desktop.closeWindow();
  desktop.tray.reset();
  ASSERT_TRUE(eventually([&] { return !desktop.open.app->tray().isShown(); }));
  const FakeTray next(desktop.bus.connect());
  ASSERT_TRUE(eventually([&] { return desktop.open.app->tray().isShown(); }));
  desktop.open.advance(2 * BrindlemuxApp::trayPatience);
  EXPECT_EQ(desktop.open.window(), nullptr);
}

TEST(BrindlemuxApp, trayThatComesLaterKeepsItRunning) {
  test::PrivateBus bus;
  OpenWindow open({device("A")}, OpenWindow::Start::later, bus.connect());
  EXPECT_FALSE(open.app->tray().isShown());
  const FakeTray tray(bus.connect());
  ASSERT_TRUE(eventually([&] { return open.app->tray().isShown(); }));
  open.window()->close();
  ASSERT_TRUE(eventually([&] { return open.window() == nullptr; }));
  EXPECT_EQ(tray.lines().constFirst(), "[x] A");
}

}  // namespace
}  // namespace brindlemux
