#include "app/tray/tray.h"

#include <QCoreApplication>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QImageReader>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

#include "app/event_loop.h"
#include "app/tray/desktop_notification.h"
#include "app/tray/fake_notifications.h"
#include "app/tray/fake_tray.h"
#include "app/tray/private_bus.h"
#include "support/temporary_folder.h"

namespace brindlemux {
namespace {

using test::eventually;
using test::FakeTray;
using test::PrivateBus;
using Kind = MenuEntry::Kind;

std::vector<MenuEntry> twoDevices() {
  return {{.id = 10, .kind = Kind::toggle, .label = QStringLiteral("My_Mic"), .isOn = true},
          {.id = 11, .kind = Kind::toggle, .label = QStringLiteral("Call")},
          {.id = 3, .kind = Kind::divider},
          {.id = 4, .kind = Kind::text, .label = QStringLiteral("Just words")},
          {.id = 1, .kind = Kind::action, .label = QStringLiteral("Open")}};
}

/// A folder of a test's own in the place of everything that is installed.
struct InstalledFiles {
  InstalledFiles() {
    qputenv("XDG_DATA_HOME", folder.path().c_str());
    qputenv("XDG_DATA_DIRS", folder.path().c_str());
  }
  ~InstalledFiles() {
    qunsetenv("XDG_DATA_HOME");
    qunsetenv("XDG_DATA_DIRS");
  }
  test::TemporaryFolder folder;
};

/// A tray on a bus, with the program's place in it.
struct ShownTray {
  ShownTray() {
    tray.menu().setEntries(twoDevices());
    tray.menu().onChosen = [this](int id) { chosen.push_back(id); };
    if (!eventually([this] { return tray.isShown(); })) throw std::runtime_error("the tray shows nothing");
  }

  PrivateBus bus;
  FakeTray desktop{bus.connect()};
  Tray tray{bus.connect()};
  std::vector<int> chosen;
};

TEST(Tray, isShownByADesktopThatHasOne) {
  const ShownTray shown;
  const QString service = QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid());
  EXPECT_EQ(shown.desktop.items(), QStringList{service});
  EXPECT_EQ(shown.desktop.itemProperty("Id").toString(), "com.brindlemux.Brindlemux");
  EXPECT_EQ(shown.desktop.itemProperty("Title").toString(), "Brindlemux");
  EXPECT_EQ(shown.desktop.itemProperty("Status").toString(), "Active");
  EXPECT_EQ(shown.desktop.itemProperty("Category").toString(), "ApplicationStatus");
  EXPECT_EQ(shown.desktop.itemProperty("ItemIsMenu"), QVariant(true));
}

TEST(Tray, hasAPictureWhereTheIconsAreNotInstalled) {
  const InstalledFiles none;
  const ShownTray shown;
  ASSERT_EQ(shown.desktop.itemProperty("IconName").toString(), "");
  const auto pixmaps = qdbus_cast<QList<TrayPixmap>>(shown.desktop.itemProperty("IconPixmap"));
  ASSERT_EQ(pixmaps.size(), 6);
  const TrayPixmap& largest = pixmaps.constLast();
  EXPECT_EQ(largest.width, 64);
  EXPECT_EQ(largest.height, 64);
  ASSERT_EQ(largest.bytes.size(), 64 * 64 * 4);
  // The corner is clear, the middle is not: alpha comes first.
  EXPECT_EQ(largest.bytes.at(0), 0);
  EXPECT_EQ(static_cast<unsigned char>(largest.bytes.at((32 * 64 + 32) * 4)), 255);
}

TEST(Tray, namesTheSymbolicIconWhereItIsInstalled) {
  const InstalledFiles files;
  const std::filesystem::path icons = files.folder.path() / "icons/hicolor/symbolic/apps";
  std::filesystem::create_directories(icons);
  std::ofstream(icons / "com.brindlemux.Brindlemux-symbolic.svg") << "<svg/>";
  const ShownTray shown;
  EXPECT_EQ(shown.desktop.itemProperty("IconName").toString(), "com.brindlemux.Brindlemux-symbolic");
  EXPECT_TRUE(qdbus_cast<QList<TrayPixmap>>(shown.desktop.itemProperty("IconPixmap")).isEmpty());
}

/// The symbolic icon as it is, without a desktop's colour.
QImage symbolicIcon(int size) {
  QImageReader reader(QStringLiteral(BRINDLEMUX_ICONS "/com.brindlemux.Brindlemux-symbolic.svg"));
  reader.setScaledSize({size, size});
  return reader.read().convertToFormat(QImage::Format_ARGB32);
}

class SymbolicIcon : public testing::TestWithParam<int> {};

TEST_P(SymbolicIcon, keepsItsBarsApart) {
  const QImage image = symbolicIcon(GetParam());
  ASSERT_EQ(image.width(), GetParam());
  int bars = 0;
  bool isInBar = false;
  for (int x = 0; x < image.width(); ++x) {
    const int alpha = qAlpha(image.pixel(x, image.height() / 2));
    // A gap is at least three quarters clear somewhere, and a bar solid.
    if (alpha <= 64) isInBar = false;
    if (alpha >= 250 && !isInBar) {
      isInBar = true;
      ++bars;
    }
  }
  EXPECT_EQ(bars, 5);
}

// What trays show at a scale of 1, and the smallest at 2.
INSTANTIATE_TEST_SUITE_P(Sizes, SymbolicIcon, testing::Values(16, 22, 24, 32),
                         [](const auto& test) { return "pixels" + std::to_string(test.param); });

/// By the rules for readable web pages.
double luminance(QRgb colour) {
  const auto linear = [](int part) {
    const double value = part / 255.0;
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(qRed(colour)) + 0.7152 * linear(qGreen(colour)) + 0.0722 * linear(qBlue(colour));
}

TEST(SymbolicIcon, showsOnLightAndDarkTraysThatDoNotColourIt) {
  const QRgb colour = symbolicIcon(16).pixel(8, 8);
  ASSERT_EQ(qAlpha(colour), 255);
  // White, black, and the usual grounds of light and dark panels.
  for (const QRgb ground : {0xffffffff, 0xff000000, 0xffeff0f1, 0xff31363b}) {
    const double lighter = std::max(luminance(colour), luminance(ground));
    const double darker = std::min(luminance(colour), luminance(ground));
    // What those rules ask of symbols.
    EXPECT_GE((lighter + 0.05) / (darker + 0.05), 3.0) << std::hex << ground;
  }
}

TEST(Tray, isNotShownWithoutABus) {
  const Tray tray(test::noBus());
  EXPECT_FALSE(tray.isShown());
}

TEST(Tray, isNotShownUntilATrayComes) {
  PrivateBus bus;
  Tray tray(bus.connect());
  int changes = 0;
  QObject::connect(&tray, &Tray::isShownChanged, [&changes] { ++changes; });
  auto desktop = std::make_unique<FakeTray>(bus.connect());
  ASSERT_TRUE(eventually([&] { return tray.isShown(); }));
  EXPECT_EQ(changes, 1);
  desktop.reset();
  ASSERT_TRUE(eventually([&] { return !tray.isShown(); }));
  EXPECT_EQ(changes, 2);
  // The next one gets the icon too.
  FakeTray next(bus.connect());
  ASSERT_TRUE(eventually([&] { return tray.isShown(); }));
  EXPECT_EQ(next.items().size(), 1);
}

TEST(Tray, isNotShownOnceTheBusIsGone) {
  ShownTray shown;
  shown.bus.stop();
  EXPECT_TRUE(eventually([&] { return !shown.tray.isShown(); }));
}

TEST(Tray, isNotShownWhileNoPanelShowsItsItems) {
  PrivateBus bus;
  FakeTray desktop(bus.connect(), FakeTray::Host::absent);
  Tray tray(bus.connect());
  ASSERT_TRUE(eventually([&] { return !desktop.items().isEmpty(); }));
  desktop.setHost(FakeTray::Host::present);
  ASSERT_TRUE(eventually([&] { return tray.isShown(); }));
  desktop.setHost(FakeTray::Host::absent);
  EXPECT_TRUE(eventually([&] { return !tray.isShown(); }));
}

TEST(Tray, clickOnTheIconIsReported) {
  const ShownTray shown;
  int clicks = 0;
  QObject::connect(&shown.tray, &Tray::activated, [&clicks] { ++clicks; });
  shown.desktop.clickIcon();
  EXPECT_EQ(clicks, 1);
}

TEST(Tray, leavesTheBusWhenItGoes) {
  PrivateBus bus;
  const FakeTray desktop(bus.connect());
  const QDBusConnection panel = bus.connect();
  std::optional<Tray> tray(bus.connect());
  ASSERT_TRUE(eventually([&] { return tray->isShown(); }));
  const auto isThere = [&](const char* path) {
    QDBusMessage question = QDBusMessage::createMethodCall(desktop.items().constFirst(), QString::fromUtf8(path),
                                                           "org.freedesktop.DBus.Properties", "GetAll");
    question << QString();
    const QDBusPendingCall call = panel.asyncCall(question);
    EXPECT_TRUE(eventually([&] { return call.isFinished(); }));
    return call.reply().type() == QDBusMessage::ReplyMessage;
  };
  EXPECT_TRUE(isThere("/StatusNotifierItem") && isThere("/MenuBar"));
  tray.reset();
  EXPECT_FALSE(isThere("/StatusNotifierItem") || isThere("/MenuBar"));
}

TEST(TrayMenu, isReadOverTheBus) {
  const ShownTray shown;
  // An underscore of a name is doubled, since a single one would mark a key.
  EXPECT_EQ(shown.desktop.lines(), (QStringList{"[x] My__Mic", "[ ] Call", "-", "(Just words)", "Open"}));
  EXPECT_EQ(shown.desktop.layout().properties.value("children-display").toString(), "submenu");
}

TEST(TrayMenu, entriesThatCanBeChosenAre) {
  const ShownTray shown;
  shown.desktop.choose("Call");
  shown.desktop.choose("Just words");
  shown.desktop.choose("Open");
  ASSERT_TRUE(eventually([&] { return shown.chosen.size() == 2; }));
  EXPECT_THAT(shown.chosen, testing::ElementsAre(11, 1));
}

TEST(TrayMenu, groupOfEventsIsTakenAndUnknownOnesAreNamed) {
  const ShownTray shown;
  const QDBusVariant nothing{QString()};
  const QList<MenuItemEvent> events{
      {11, "clicked", nothing, 0}, {99, "clicked", nothing, 0}, {1, "hovered", nothing, 0}};
  const QDBusMessage reply = shown.desktop.callMenu("EventGroup", {QVariant::fromValue(events)});
  ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
  EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().constFirst()), QList<int>{99});
  ASSERT_TRUE(eventually([&] { return !shown.chosen.empty(); }));
  EXPECT_THAT(shown.chosen, testing::ElementsAre(11));
}

TEST(TrayMenu, unknownItemsAreRefused) {
  const ShownTray shown;
  const QVariant nothing = QVariant::fromValue(QDBusVariant(QString()));
  const auto isRefused = [&shown](const QString& method, const QVariantList& arguments) {
    return shown.desktop.callMenu(method, arguments).errorName() == "org.freedesktop.DBus.Error.InvalidArgs";
  };
  EXPECT_TRUE(isRefused("GetLayout", {99, -1, QStringList()}));
  EXPECT_TRUE(isRefused("GetProperty", {99, "label"}));
  EXPECT_TRUE(isRefused("GetProperty", {10, "no such property"}));
  EXPECT_TRUE(isRefused("Event", {99, "clicked", nothing, 0U}));
  EXPECT_TRUE(isRefused("AboutToShow", {99}));
  EXPECT_TRUE(
      isRefused("EventGroup", {QVariant::fromValue(QList<MenuItemEvent>{{99, "clicked", QDBusVariant(""), 0}})}));
}

TEST(TrayMenu, answersWhatPanelsAsk) {
  const ShownTray shown;
  const auto answer = [&shown](const QString& method, const QVariantList& arguments) {
    const QDBusMessage reply = shown.desktop.callMenu(method, arguments);
    EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    return reply.arguments();
  };
  EXPECT_EQ(answer("AboutToShow", {0}).constFirst(), QVariant(false));
  const QVariantList shownGroup = answer("AboutToShowGroup", {QVariant::fromValue(QList<int>{0, 10, 99})});
  EXPECT_EQ(qdbus_cast<QList<int>>(shownGroup.at(0)), QList<int>());
  EXPECT_EQ(qdbus_cast<QList<int>>(shownGroup.at(1)), QList<int>{99});
  EXPECT_EQ(answer("GetProperty", {11, "label"}).constFirst().value<QDBusVariant>().variant().toString(), "Call");

  const auto group = qdbus_cast<QList<MenuItemProperties>>(
      answer("GetGroupProperties", {QVariant::fromValue(QList<int>{11, 99}), QStringList{"label"}}).constFirst());
  ASSERT_EQ(group.size(), 1);
  EXPECT_EQ(group.constFirst().id, 11);
  EXPECT_EQ(group.constFirst().properties, (QVariantMap{{"label", "Call"}}));
  const QVariantList everything = answer("GetGroupProperties", {QVariant::fromValue(QList<int>()), QStringList()});
  EXPECT_EQ(qdbus_cast<QList<MenuItemProperties>>(everything.constFirst()).size(), 6);

  const auto rootAlone = qdbus_cast<MenuItemLayout>(answer("GetLayout", {0, 0, QStringList()}).at(1));
  EXPECT_TRUE(rootAlone.children.isEmpty());
  const auto entryAlone = qdbus_cast<MenuItemLayout>(answer("GetLayout", {11, -1, QStringList{"label"}}).at(1));
  EXPECT_EQ(entryAlone.properties, (QVariantMap{{"label", "Call"}}));
}

TEST(TrayMenu, changedLineIsTheOnlyThingThatIsSent) {
  ShownTray shown;
  std::vector<MenuEntry> entries = twoDevices();
  shown.tray.menu().setEntries(entries);
  entries[1].isOn = true;
  shown.tray.menu().setEntries(entries);
  ASSERT_TRUE(eventually([&] { return shown.desktop.propertyUpdates() > 0; }));
  EXPECT_EQ(shown.desktop.propertyUpdates(), 1);
  EXPECT_EQ(shown.desktop.layoutUpdates(), 0);
  EXPECT_EQ(shown.desktop.lines().at(1), "[x] Call");
}

TEST(TrayMenu, changedShapeIsAnnounced) {
  ShownTray shown;
  std::vector<MenuEntry> entries = twoDevices();
  entries.erase(entries.begin());
  shown.tray.menu().setEntries(entries);
  ASSERT_TRUE(eventually([&] { return shown.desktop.layoutUpdates() > 0; }));
  EXPECT_EQ(shown.desktop.layoutUpdates(), 1);
  EXPECT_EQ(shown.desktop.propertyUpdates(), 0);
  EXPECT_EQ(shown.desktop.lines().constFirst(), "[ ] Call");
}

TEST(TrayMenu, entryThatIsGoneByThenIsNotChosen) {
  ShownTray shown;
  shown.tray.menu().Event(11, "clicked", QDBusVariant(QString()), 0);
  shown.tray.menu().setEntries({});
  bool later = false;
  QMetaObject::invokeMethod(
      qApp, [&later] { later = true; }, Qt::QueuedConnection);
  ASSERT_TRUE(eventually([&] { return later; }));
  EXPECT_TRUE(shown.chosen.empty());
}

TEST(DesktopNotification, isDeliveredWhereSomethingShowsIt) {
  PrivateBus bus;
  test::FakeNotifications desktop(bus.connect());
  int delivered = 0;
  notifyDesktop(bus.connect(), "Title", "Text", [&delivered] { ++delivered; });
  ASSERT_TRUE(eventually([&] { return delivered > 0; }));
  EXPECT_EQ(desktop.summaries, QStringList{"Title"});
  EXPECT_EQ(delivered, 1);
}

}  // namespace
}  // namespace brindlemux
