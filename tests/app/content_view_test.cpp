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
  // As precise as a colour of 16 bits a component is.
  EXPECT_EQ(open.item("driverMissing.command")->property("color").value<QColor>(),
            QColor::fromRgbF(0.64F, 0.665F, 0.715F));
  EXPECT_EQ(open.item("driverMissing.symbol")->property("size").toReal(), 26);
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

}  // namespace
}  // namespace brindlemux
