#include "app/shell/main_window.h"

#include <algorithm>
#include <gtest/gtest.h>

#include "app/open_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;

const std::string rowA = "device." + device("A").uid;
const std::string rowB = "device." + device("B").uid;

TEST(MainWindow, hasItsSizeAndTitle) {
  const OpenWindow open;
  const QQuickWindow& window = *open.window();
  EXPECT_EQ(window.size(), QSize(1440, 900));
  EXPECT_EQ(window.minimumSize(), QSize(1220, 600));
  EXPECT_EQ(window.title(), "Brindlemux");
}

TEST(MainWindow, hasNoTitleBarButItsButtons) {
  const OpenWindow open({device("A")});
  QQuickWindow& window = *open.window();
  EXPECT_TRUE(window.flags().testFlag(Qt::FramelessWindowHint));
  EXPECT_EQ(open.item("window.maximize")->property("help").toString(), "Maximize");
  open.click("window.maximize");
  ASSERT_TRUE(eventually([&] { return window.visibility() == QWindow::Maximized; }));
  EXPECT_EQ(open.item("window.maximize")->property("help").toString(), "Restore");
  open.click("window.maximize");
  ASSERT_TRUE(eventually([&] { return window.visibility() == QWindow::Windowed; }));
  open.click("window.minimize");
  EXPECT_TRUE(eventually([&] { return window.visibility() == QWindow::Minimized; }));
}

TEST(MainWindow, closesByItsButtonAboveASheetToo) {
  const OpenWindow open({device("A")});
  open.state->setSettingsSheetUID(device("A").uid);
  ASSERT_TRUE(eventually([&] { return open.hasFocus("settings.mode.2"); }));
  open.click("window.close");
  EXPECT_TRUE(eventually([&] { return open.window() == nullptr || !open.window()->isVisible(); }));
}

TEST(MainWindow, doubleClickOnItsTopMaximisesItAndOneOnTheNameRenames) {
  const OpenWindow open({device("A")});
  ASSERT_TRUE(eventually([&] { return open.shows("detail.name"); }));
  QQuickWindow& window = *open.window();
  const QQuickItem* name = open.item("detail.name");
  const QPoint onName = name->mapToScene({name->width() / 2, name->height() / 2}).toPoint();
  QTest::mouseDClick(&window, Qt::LeftButton, Qt::NoModifier, onName);
  ASSERT_TRUE(eventually([&] { return open.shows("detail.nameField"); }));
  EXPECT_EQ(window.visibility(), QWindow::Windowed);
  // Between the name and the header's buttons, and above the list of devices.
  QWindow::Visibility wanted = QWindow::Maximized;
  for (const QPoint top : {QPoint(800, 36), QPoint(200, 20)}) {
    QTest::mouseDClick(&window, Qt::LeftButton, Qt::NoModifier, top);
    EXPECT_TRUE(eventually([&] { return window.visibility() == wanted; })) << top.x();
    wanted = QWindow::Windowed;
  }
}

TEST(MainWindow, buttonsOfTheHeaderAndOfTheWindowStandApart) {
  const OpenWindow open({device("A")});
  ASSERT_TRUE(eventually([&] { return open.shows("detail.enabled"); }));
  open.window()->resize(1220, 600);
  ASSERT_TRUE(eventually([&] { return open.window()->contentItem()->width() == 1220; }));
  double end = 0;
  for (const char* button : {"detail.disconnect", "detail.settings", "detail.enabled", "window.minimize",
                             "window.maximize", "window.close"}) {
    const QQuickItem* item = open.item(button);
    EXPECT_GE(item->mapToScene({0, 0}).x(), end) << button;
    end = item->mapToScene({item->width(), 0}).x();
  }
  EXPECT_LE(end, 1220);
}

TEST(MainWindow, listsEveryDevice) {
  const OpenWindow open({device("A"), device("B", 16)});
  ASSERT_TRUE(eventually([&] { return open.shows(rowA) && open.shows(rowB); }));
  EXPECT_EQ(open.text(rowA + ".name"), "A");
  EXPECT_EQ(open.text(rowA + ".caption"), "2 ch · 0 sources");
  EXPECT_EQ(open.text(rowB + ".caption"), "16 ch · 0 sources");
  EXPECT_GT(open.item(rowB)->mapToScene({0, 0}).y(), open.item(rowA)->mapToScene({0, 0}).y());
  EXPECT_FALSE(open.shows("sidebar.empty"));
  EXPECT_FALSE(open.shows("driverMissing"));
}

TEST(MainWindow, clickSelectsDevice) {
  const OpenWindow open({device("A"), device("B", 4)});
  ASSERT_TRUE(eventually([&] { return open.shows(rowB); }));
  EXPECT_EQ(open.text("detail.name"), "A");
  open.click(rowB);
  EXPECT_EQ(open.state->selectedDeviceUID(), device("B").uid);
  EXPECT_EQ(open.text("detail.name"), "B");
  EXPECT_EQ(open.text("detail.channels"), "4 channels");
  EXPECT_TRUE(open.item(rowB)->property("selected").toBool());
  EXPECT_FALSE(open.item(rowA)->property("selected").toBool());
}

TEST(MainWindow, renamedDeviceKeepsItsRow) {
  OpenWindow open({device("A")});
  ASSERT_TRUE(eventually([&] { return open.shows(rowA); }));
  const QQuickItem* row = open.item(rowA);
  VirtualDeviceConfig renamed = device("A");
  renamed.name = "<b>Renamed</b>";
  open.publish({device("B"), renamed});
  open.state->reload();
  ASSERT_TRUE(eventually([&] { return open.shows(rowB); }));
  EXPECT_EQ(open.item(rowA), row);
  EXPECT_EQ(open.text(rowA + ".name"), "<b>Renamed</b>");
  EXPECT_EQ(open.text("detail.name"), "<b>Renamed</b>");
}

TEST(MainWindow, hasTheColourOfThePaletteWhereThereIsNothing) {
  const OpenWindow open(std::vector<VirtualDeviceConfig>{});
  const QImage image = open.window()->grabWindow();
  ASSERT_FALSE(image.isNull());
  // Rounded to 8 bits: 0.11, 0.12 and 0.14 of 255.
  EXPECT_EQ(image.pixelColor(1000, 800), QColor(28, 31, 36));
}

TEST(MainWindow, drawsOnTheSoftwareRenderer) {
  const OpenWindow open({device("A")});
  ASSERT_TRUE(eventually([&] { return open.shows(rowA); }));
  const QImage image = open.window()->grabWindow();
  ASSERT_FALSE(image.isNull());
  // The ground of the header, rounded to 8 bits: 0.135, 0.146 and 0.168 of 255.
  EXPECT_EQ(image.pixelColor(1000, 60), QColor(34, 37, 43));
  // The sidebar has the same.
  EXPECT_EQ(image.pixelColor(120, 800), QColor(34, 37, 43));
  // The name in the row is written: something in it is as bright as white letters are.
  const QRectF name = open.item(rowA + ".name")->mapRectToScene(open.item(rowA + ".name")->boundingRect());
  int brightest = 0;
  for (int y = int(name.top()); y < int(name.bottom()); ++y) {
    for (int x = int(name.left()); x < int(name.right()); ++x)
      brightest = std::max(brightest, image.pixelColor(x, y).lightness());
  }
  EXPECT_GT(brightest, 200);
}

}  // namespace
}  // namespace brindlemux
