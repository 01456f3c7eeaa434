#include "app/shell/main_window.h"

#include <QGuiApplication>
#include <QQuickItem>
#include <QTest>
#include <QTimer>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/event_loop.h"
#include "app/simulated_program.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;

/// The item with this object name; a view's delegates have no QObject parent, so that items are asked instead.
QQuickItem* find(QQuickItem* root, const QString& name) {
  if (root->objectName() == name) return root;
  for (QQuickItem* child : root->childItems()) {
    if (QQuickItem* found = find(child, name)) return found;
  }
  return nullptr;
}

/// What Qt complained about since the last look; a window that is all right gives it no reason to.
std::vector<std::string>& complaints() {
  static std::vector<std::string> messages;
  return messages;
}

void keepComplaint(QtMsgType type, const QMessageLogContext&, const QString& message) {
  if (type != QtDebugMsg && type != QtInfoMsg) complaints().push_back(message.toStdString());
}

struct OpenWindow : test::SimulatedProgram {
  explicit OpenWindow(const std::vector<VirtualDeviceConfig>& devices) {
    hardware.installDriver(devices);
    open();
  }
  OpenWindow() { open(); }
  ~OpenWindow() {
    main.reset();
    EXPECT_THAT(complaints(), testing::IsEmpty());
    qInstallMessageHandler(nullptr);
  }

  void open() {
    complaints().clear();
    qInstallMessageHandler(&keepComplaint);
    MainWindow::chooseStyle();
    main = std::make_unique<MainWindow>(start());
    if (main->window() == nullptr) throw std::runtime_error("no window");
    if (!QTest::qWaitForWindowExposed(main->window())) throw std::runtime_error("the window stays hidden");
  }
  QQuickItem* item(const std::string& name) const {
    return find(main->window()->contentItem(), QString::fromStdString(name));
  }
  bool shows(const std::string& name) const { return item(name) != nullptr && item(name)->isVisible(); }
  QString text(const std::string& name) const {
    return item(name) != nullptr ? item(name)->property("text").toString() : QStringLiteral("no such item");
  }
  void click(const std::string& name) const {
    const QQuickItem* target = item(name);
    ASSERT_NE(target, nullptr) << name;
    const QPointF middle = target->mapToScene({target->width() / 2, target->height() / 2});
    QTest::mouseClick(main->window(), Qt::LeftButton, Qt::NoModifier, middle.toPoint());
  }

  std::unique_ptr<MainWindow> main;
};

const std::string rowA = "device." + device("A").uid;
const std::string rowB = "device." + device("B").uid;

TEST(MainWindow, hasItsSizeAndTitle) {
  const OpenWindow open;
  const QQuickWindow& window = *open.main->window();
  EXPECT_EQ(window.size(), QSize(1440, 900));
  EXPECT_EQ(window.minimumSize(), QSize(1220, 600));
  EXPECT_EQ(window.title(), "Brindlemux");
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

TEST(MainWindow, saysThatTheDriverIsMissing) {
  OpenWindow open;
  EXPECT_TRUE(open.shows("driverMissing"));
  EXPECT_FALSE(open.shows("noDeviceSelected"));
  EXPECT_TRUE(open.shows("sidebar.empty"));
  open.hardware.installDriver({device("A")});
  open.click("driverMissing.checkAgain");
  EXPECT_TRUE(open.state->driverInstalled());
  EXPECT_FALSE(open.shows("driverMissing"));
  EXPECT_TRUE(eventually([&] { return open.shows(rowA); }));
}

TEST(MainWindow, saysThatNoDeviceIsSelected) {
  const OpenWindow open(std::vector<VirtualDeviceConfig>{});
  EXPECT_TRUE(open.shows("noDeviceSelected"));
  EXPECT_TRUE(open.shows("sidebar.empty"));
  EXPECT_FALSE(open.shows("driverMissing"));
}

TEST(MainWindow, errorLineShowsUntilItIsDismissed) {
  OpenWindow open({device("A")});
  EXPECT_FALSE(open.shows("errorBar"));
  open.hardware.journal().failEvery("createIOProc", -1);
  AppStateProbe::restartAllEngines(*open.state);
  EXPECT_TRUE(open.shows("errorBar"));
  EXPECT_EQ(open.text("errorBar.message"), "Creating input IOProc failed (OSStatus -1)");
  ASSERT_TRUE(eventually([&] { return open.item("errorBar.dismiss")->width() > 0; }));
  open.click("errorBar.dismiss");
  EXPECT_EQ(open.state->errorMessage(), std::nullopt);
  EXPECT_FALSE(open.shows("errorBar"));
}

TEST(MainWindow, closingItEndsTheProgram) {
  const OpenWindow open;
  QTimer::singleShot(0, open.main->window(), &QQuickWindow::close);
  QTimer deadline;
  QObject::connect(&deadline, &QTimer::timeout, [] { QCoreApplication::exit(1); });
  deadline.start(std::chrono::seconds(20));
  EXPECT_EQ(QGuiApplication::exec(), 0);
}

TEST(MainWindow, drawsOnTheSoftwareRenderer) {
  const OpenWindow open({device("A")});
  ASSERT_TRUE(eventually([&] { return open.shows(rowA); }));
  const QImage image = open.main->window()->grabWindow();
  ASSERT_FALSE(image.isNull());
  // The ground of the window, rounded to 8 bits: 0.11, 0.12 and 0.14 of 255.
  EXPECT_EQ(image.pixelColor(1000, 800), QColor(28, 31, 36));
  // The sidebar's: 0.135, 0.146 and 0.168 of 255.
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
