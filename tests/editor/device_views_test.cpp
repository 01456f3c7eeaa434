#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/editor_window.h"
#include "editor/wire_selection.h"

namespace brindlemux {
namespace {

using test::device;
using test::EditorWindow;
using test::eventually;
using test::player;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const std::string uidA = device("A").uid;
const std::string uidB = device("B").uid;
const std::string rowA = "device." + uidA;
const std::string rowB = "device." + uidB;

std::string nameOf(const EditorWindow& open, std::size_t number = 0) {
  return open.state->virtualDevices().at(number).name;
}

TEST(SidebarPanel, rowCountsChannelsAndSources) {
  EditorWindow open;
  EXPECT_EQ(open.text(rowA + ".name"), "A");
  EXPECT_EQ(open.text(rowA + ".caption"), "2 ch · 0 sources");
  EXPECT_EQ(open.text(rowB + ".caption"), "4 ch · 0 sources");
  open.edit([](DeviceGraph& graph) { graph.sources = {player(1)}; });
  EXPECT_EQ(open.text(rowA + ".caption"), "2 ch · 1 sources");
  EXPECT_FALSE(open.shows("sidebar.empty"));
}

TEST(SidebarPanel, clickAndArrowsSelect) {
  EditorWindow open;
  open.click(rowB + ".name");
  EXPECT_EQ(open.state->selectedDeviceUID(), uidB);
  EXPECT_TRUE(open.property(rowB, "selected").toBool());
  open.focus("sidebar.devices");
  open.key(Qt::Key_Up);
  EXPECT_EQ(open.state->selectedDeviceUID(), uidA);
  open.key(Qt::Key_Up);
  EXPECT_EQ(open.state->selectedDeviceUID(), uidA);
  open.key(Qt::Key_Down);
  EXPECT_EQ(open.state->selectedDeviceUID(), uidB);
}

TEST(SidebarPanel, createsADeviceAndShowsIt) {
  EditorWindow open(std::vector<VirtualDeviceConfig>{});
  EXPECT_TRUE(open.shows("sidebar.empty"));
  EXPECT_EQ(open.text("sidebar.empty"), "No virtual devices");
  EXPECT_FALSE(open.property("sidebar.delete", "enabled").toBool());
  EXPECT_EQ(open.text("sidebar.create"), "New Virtual Device");
  open.click("sidebar.create");
  ASSERT_THAT(open.state->virtualDevices(), SizeIs(1));
  EXPECT_EQ(open.text("detail.name"), "Brindlemux Device 1");
  EXPECT_FALSE(open.shows("sidebar.empty"));
}

TEST(SidebarPanel, namesOfNewDevicesAreShownToTheirEnd) {
  VirtualDeviceConfig named = device("A");
  named.name = "Brindlemux Device 10";
  const EditorWindow open({named});
  open.settle();
  EXPECT_EQ(open.text(rowA + ".name"), "Brindlemux Device 10");
  EXPECT_FALSE(open.property(rowA + ".name", "truncated").toBool());
}

TEST(SidebarPanel, asksBeforeItDeletes) {
  EditorWindow open;
  EXPECT_EQ(open.property("sidebar.delete", "help"), "Delete selected device");
  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.confirm"));
  EXPECT_EQ(open.text("confirmation.title"), "Delete device?");
  EXPECT_EQ(open.text("confirmation.message"),
            "“A” will disappear from the system. Its routing graph will be deleted.");
  EXPECT_EQ(open.text("confirmation.confirm"), "Delete");
  EXPECT_EQ(open.text("confirmation.cancel"), "Cancel");
  open.click("confirmation.confirm");
  ASSERT_THAT(open.state->virtualDevices(), SizeIs(1));
  EXPECT_EQ(nameOf(open), "B");
  EXPECT_TRUE(eventually([&] { return !open.shows("confirmation.confirm"); }));
}

TEST(SidebarPanel, cancelAndEscapeDeleteNothing) {
  EditorWindow open;
  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.cancel"));
  open.click("confirmation.cancel");
  ASSERT_TRUE(eventually([&] { return !open.shows("confirmation.cancel"); }));
  // A question that was answered can be asked again.
  open.focus("sidebar.devices");
  open.key(Qt::Key_Delete);
  ASSERT_TRUE(open.comesToShow("confirmation.cancel"));
  open.key(Qt::Key_Escape);
  EXPECT_TRUE(eventually([&] { return !open.shows("confirmation.cancel"); }));
  EXPECT_THAT(open.state->virtualDevices(), SizeIs(2));
}

TEST(SidebarPanel, questionGoesWithTheDeviceThatItIsAbout) {
  EditorWindow open;
  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.confirm"));
  open.publish({device("B", 4)});
  open.state->reload();
  EXPECT_TRUE(eventually([&] { return !open.shows("confirmation.confirm"); }));
  EXPECT_THAT(open.state->virtualDevices(), SizeIs(1));
}

TEST(SidebarPanel, emptiesAndFillsAgainWithTheDriver) {
  EditorWindow open({device("A"), device("B", 4), device("C")});
  ASSERT_TRUE(open.comesToShow("device." + device("C").uid));
  open.hardware.uninstallDriver();
  open.state->refreshEnvironment();
  EXPECT_TRUE(eventually([&] { return !open.shows(rowA) && !open.shows(rowB); }));
  EXPECT_FALSE(open.shows("device." + device("C").uid));
  EXPECT_TRUE(open.shows("sidebar.empty"));
  EXPECT_FALSE(open.property("sidebar.delete", "enabled").toBool());
  open.hardware.installDriver({device("C"), device("A")});
  open.state->reload();
  EXPECT_TRUE(open.comesToShow(rowA));
  EXPECT_TRUE(open.comesToShow("device." + device("C").uid));
  // The selected one is still selected, and the keys go on from it.
  EXPECT_TRUE(open.property(rowA, "selected").toBool());
  EXPECT_TRUE(eventually([&] { return open.property("sidebar.devices", "currentIndex") == 1; }));
  EXPECT_TRUE(open.property("sidebar.delete", "enabled").toBool());
}

TEST(SidebarPanel, switchTurnsADeviceOff) {
  EditorWindow open;
  open.click(rowB + ".enabled");
  EXPECT_FALSE(open.state->graph(uidB).enabled);
  EXPECT_TRUE(open.state->graph(uidA).enabled);
  EXPECT_EQ(open.state->selectedDeviceUID(), uidA);
  open.click(rowB + ".enabled");
  EXPECT_TRUE(open.state->graph(uidB).enabled);
}

TEST(DeviceDetailView, doubleClickRenames) {
  EditorWindow open;
  EXPECT_EQ(open.property("detail.name", "help"), "Double-click to rename");
  EXPECT_EQ(open.text("detail.channels"), "2 channels");
  open.doubleClick("detail.name");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  EXPECT_EQ(open.text("detail.nameField"), "A");
  EXPECT_EQ(open.item("detail.nameField")->width(), 300);
  EXPECT_EQ(open.property("detail.nameField", "placeholderText"), "Device name");
  open.type("Stream Mix");
  open.key(Qt::Key_Return);
  EXPECT_EQ(nameOf(open), "Stream Mix");
  EXPECT_FALSE(open.shows("detail.nameField"));
  EXPECT_EQ(open.text("detail.name"), "Stream Mix");
  EXPECT_EQ(open.text(rowA + ".name"), "Stream Mix");
}

TEST(DeviceDetailView, pencilAndTickRenameToo) {
  EditorWindow open;
  EXPECT_EQ(open.property("detail.rename", "help"), "Rename device");
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  EXPECT_EQ(open.property("detail.saveName", "help"), "Save name");
  open.type("Mix");
  open.click("detail.saveName");
  EXPECT_EQ(nameOf(open), "Mix");
  EXPECT_FALSE(open.shows("detail.nameField"));
}

TEST(DeviceDetailView, escapeDropsTheRename) {
  EditorWindow open;
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  open.type("Mix");
  open.key(Qt::Key_Escape);
  EXPECT_FALSE(open.shows("detail.nameField"));
  EXPECT_EQ(nameOf(open), "A");
  open.key(Qt::Key_Return);  // the pencil has the focus again
  EXPECT_TRUE(open.comesToShow("detail.nameField"));
  EXPECT_EQ(open.text("detail.nameField"), "A");
}

TEST(DeviceDetailView, blankNameChangesNothing) {
  EditorWindow open;
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  open.type("   ");
  open.key(Qt::Key_Return);
  EXPECT_FALSE(open.shows("detail.nameField"));
  EXPECT_EQ(nameOf(open), "A");
}

TEST(DeviceDetailView, renameOutlivesAReloadOfTheList) {
  EditorWindow open;
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  open.type("Mi");
  open.publish({device("B", 4), device("A")});
  open.state->reload();
  open.advance(AppState::refreshInterval);
  open.type("x");
  EXPECT_EQ(open.text("detail.nameField"), "Mix");
  open.key(Qt::Key_Return);
  EXPECT_EQ(nameOf(open, 0), "B");
  EXPECT_EQ(nameOf(open, 1), "Mix");
}

TEST(DeviceDetailView, anotherDeviceStartsOver) {
  EditorWindow open;
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  open.type("Mix");
  open.click(rowB + ".name");
  EXPECT_TRUE(eventually([&] { return !open.shows("detail.nameField") && open.text("detail.name") == "B"; }));
  EXPECT_EQ(nameOf(open, 0), "A");
  EXPECT_EQ(nameOf(open, 1), "B");
  EXPECT_EQ(open.seek("detail." + uidA), nullptr);
}

TEST(DeviceDetailView, deviceThatVanishesUnderARenameTakesItAlong) {
  EditorWindow open;
  open.click("detail.rename");
  ASSERT_TRUE(eventually([&] { return open.hasFocus("detail.nameField"); }));
  open.type("Mix");
  open.publish({device("B", 4)});
  open.state->reload();
  EXPECT_TRUE(eventually([&] { return !open.shows("detail.nameField"); }));
  open.key(Qt::Key_Return);
  EXPECT_EQ(nameOf(open), "B");
}

/// One line, cut where there is no room, that ends before what stands beside it.
void expectInPlace(const EditorWindow& open, const std::string& text, const std::string& beside) {
  open.settle();
  const QQuickItem* item = open.item(text);
  EXPECT_LE(item->property("contentWidth").toDouble(), item->width() + 0.5) << text;
  EXPECT_LE(item->property("lineCount").toInt(), 1) << text;
  EXPECT_LE(item->mapToScene({item->width(), 0}).x(), open.item(beside)->mapToScene({0, 0}).x()) << text;
}

void expectInTheWindow(const EditorWindow& open, const std::string& name) {
  const QQuickItem* item = open.item(name);
  const QRectF place = item->mapRectToScene(item->boundingRect());
  EXPECT_TRUE(QRectF({0, 0}, open.window()->size()).contains(place)) << name;
}

class DeviceNames : public testing::TestWithParam<const char*> {};

TEST_P(DeviceNames, stayInTheirPlace) {
  EditorWindow open;
  open.window()->resize(1220, 600);
  VirtualDeviceConfig named = device("A");
  named.name = GetParam();
  open.publish({named, device("B", 4)});
  open.state->reload();
  EXPECT_EQ(open.text("detail.name"), named.name);
  expectInPlace(open, rowA + ".name", rowA + ".enabled");
  expectInPlace(open, "detail.name", "detail.rename");
  EXPECT_LT(open.item("detail.rename")->mapToScene({26, 0}).x(),
            open.item("detail.disconnect")->mapToScene({0, 0}).x());

  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.message"));
  expectInTheWindow(open, "confirmation.message");
  expectInTheWindow(open, "confirmation.confirm");
  open.key(Qt::Key_Escape);
  ASSERT_TRUE(eventually([&] { return !open.shows("confirmation.message"); }));

  open.click("detail.settings");
  ASSERT_TRUE(open.comesToShow("settings.deviceName"));
  expectInPlace(open, "settings.deviceName", "settings.close");
  expectInTheWindow(open, "settings.note");
}

/// Those of the audio server's devices, which have what names they like.
class MenuNames : public DeviceNames {};

TEST_P(MenuNames, stayInTheirPlace) {
  EditorWindow open;
  open.hardware.addDevice(test::output("Other", GetParam()));
  open.state->refreshEnvironment();
  open.click("addMonitor");
  ASSERT_TRUE(open.comesToShow("entry.monitor Other"));
  const QQuickItem* entry = open.item("entry.monitor Other");
  const QQuickItem* label = open.item("entry.monitor Other.label");
  EXPECT_EQ(open.text("entry.monitor Other.label"), GetParam());
  EXPECT_EQ(entry->height(), 28);
  EXPECT_LE(label->property("contentWidth").toDouble(), label->width() + 0.5);
  EXPECT_LE(label->x() + label->width(), entry->width());
}

const auto namesOfAnyKind = testing::Values(
    "A name that is far too long for every place that it has in this window, whatever that place is "
    "and however wide the window may be made by hand",
    "WWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWWW",
    "مشغل الصوت الطويل جدا لاختبار الاتجاه من اليمين إلى اليسار في كل مكان هنا",
    "🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤🎧🎹🥁🎸🎺🎻🎤",
    "two\nlines", "<b>bold</b> & <i>plain</i>");

std::string nameNumber(const testing::TestParamInfo<const char*>& test) { return "name" + std::to_string(test.index); }

INSTANTIATE_TEST_SUITE_P(OfAnyKind, DeviceNames, namesOfAnyKind, nameNumber);
INSTANTIATE_TEST_SUITE_P(OfAnyKind, MenuNames, namesOfAnyKind, nameNumber);
INSTANTIATE_TEST_SUITE_P(Empty, MenuNames, testing::Values(""), nameNumber);

TEST(DeviceDetailView, opensTheSettingsOfItsDevice) {
  EditorWindow open;
  EXPECT_EQ(open.property("detail.settings", "help"), "Device settings");
  open.click("detail.settings");
  EXPECT_EQ(open.state->settingsSheetUID(), uidA);
}

TEST(DeviceDetailView, disconnectsTheSelectedWire) {
  EditorWindow open;
  const SourceWire wire{player(1).id, 1, 1};
  open.edit([&](DeviceGraph& graph) {
    graph.sources = {player(1)};
    graph.wires = {{player(1).id, 0, 0}, wire, wire};
  });
  EXPECT_EQ(open.text("detail.disconnect"), "Disconnect Wire");
  EXPECT_EQ(open.property("detail.disconnect", "help"), "Disconnect the selected wire (or double-click the wire)");
  EXPECT_FALSE(open.property("detail.disconnect", "enabled").toBool());
  open.item("detail." + uidA)->setProperty("selectedWire", QVariant::fromValue(WireSelection::source(wire)));
  EXPECT_TRUE(open.property("detail.disconnect", "enabled").toBool());
  open.click("detail.disconnect");
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{player(1).id, 0, 0}));
  EXPECT_FALSE(open.property("detail.disconnect", "enabled").toBool());
}

TEST(DeviceDetailView, switchTurnsTheDeviceOffAndOn) {
  EditorWindow open;
  open.click("detail.enabled");
  EXPECT_FALSE(open.graph().enabled);
  EXPECT_FALSE(open.property(rowA + ".enabled", "checked").toBool());
  open.focus("detail.enabled");
  open.key(Qt::Key_Return);
  EXPECT_TRUE(open.graph().enabled);
}

TEST(AddMenus, clickAddsASource) {
  EditorWindow open;
  EXPECT_EQ(open.property("addSource", "help"), "Add a source");
  open.click("addSource");
  ASSERT_TRUE(open.comesToShow("entry.app com.example.Player"));
  open.click("entry.app com.example.Player");
  ASSERT_THAT(open.graph().sources, SizeIs(1));
  EXPECT_EQ(open.graph().sources[0].kind, SourceKindConfig(AppSource{"com.example.Player", "Player"}));
  EXPECT_THAT(open.graph().wires, SizeIs(2));
  EXPECT_TRUE(eventually([&] { return !open.shows("addSource.list"); }));
}

TEST(AddMenus, keysChooseAnEntry) {
  EditorWindow open;
  open.focus("addSource");
  open.key(Qt::Key_Return);
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  EXPECT_EQ(open.property("addSource.list", "currentIndex"), 0);
  open.key(Qt::Key_Down);
  open.key(Qt::Key_Return);
  ASSERT_THAT(open.graph().sources, SizeIs(1));
  EXPECT_EQ(open.graph().sources[0].kind, SourceKindConfig(MicSource{"Microphone", "Desk Microphone"}));
  ASSERT_TRUE(eventually([&] { return !open.shows("addSource.list"); }));
  EXPECT_TRUE(eventually([&] { return open.hasFocus("addSource"); }));
  open.key(Qt::Key_Space);
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  open.key(Qt::Key_End);
  open.key(Qt::Key_Return);
  ASSERT_THAT(open.graph().sources, SizeIs(2));
  EXPECT_EQ(open.graph().sources[1].kind, SourceKindConfig(SystemAudioSource{}));
}

TEST(AddMenus, lettersLeadToAnEntry) {
  EditorWindow open;
  open.click("addSource");
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  // However slow the machine is, no letter comes too late.
  open.item("addSource.list")->findChild<QObject*>("addSource.list.typeAhead")->setProperty("patience", 1000000);
  open.type("s");
  EXPECT_EQ(open.property("addSource.list", "currentIndex"), 2);
  EXPECT_THAT(open.graph().sources, IsEmpty());
  open.key(Qt::Key_Escape);
  ASSERT_TRUE(eventually([&] { return !open.shows("addSource.list"); }));
  open.key(Qt::Key_Return);
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  // A space within a name chooses nothing; what was typed before the menu closed is forgotten.
  open.type("desk m");
  EXPECT_EQ(open.property("addSource.list", "currentIndex"), 1);
  EXPECT_THAT(open.graph().sources, IsEmpty());
  open.key(Qt::Key_Return);
  ASSERT_THAT(open.graph().sources, SizeIs(1));
  EXPECT_EQ(open.graph().sources[0].kind, SourceKindConfig(MicSource{"Microphone", "Desk Microphone"}));
}

TEST(AddMenus, keysAreFollowedUnderAPointerAtRest) {
  EditorWindow open;
  for (std::int32_t pid = 200; pid < 240; ++pid) {
    open.hardware.addProcess({.pid = pid, .bundleID = "com.example." + std::to_string(pid), .isPlaying = true});
    open.applications.set(pid, "Browser " + std::to_string(pid));
  }
  open.state->refreshEnvironment();
  open.click("addSource");
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  const QPoint at = open.middle("addSource.list");
  open.move(at);
  open.move(at + QPoint(0, 1));
  const auto current = [&] { return open.property("addSource.list", "currentIndex").toInt(); };
  ASSERT_TRUE(eventually([&] { return current() > 2; }));
  const int pointed = current();
  for (int presses = 0; presses < 20; ++presses) {
    open.key(Qt::Key_Down);
    // The list scrolls, and whatever is below the pointer then is told so.
    open.settle();
  }
  EXPECT_EQ(current(), pointed + 20);
  EXPECT_GT(open.property("addSource.list", "contentY").toDouble(), 0);
  open.move(at);
  EXPECT_TRUE(eventually([&] { return current() != pointed + 20; }));
}

TEST(AddMenus, escapeAddsNothing) {
  EditorWindow open;
  open.click("addSource");
  ASSERT_TRUE(eventually([&] { return open.shows("addSource.list") && open.hasFocus("addSource.list"); }));
  open.key(Qt::Key_Escape);
  EXPECT_TRUE(eventually([&] { return !open.shows("addSource.list"); }));
  EXPECT_THAT(open.graph().sources, IsEmpty());
}

TEST(AddMenus, openMenuTakesInWhatComesAndGoes) {
  EditorWindow open;
  open.click("addSource");
  ASSERT_TRUE(open.comesToShow("entry.systemAudio "));
  open.hardware.addProcess({.pid = 200, .bundleID = "com.example.Browser", .isPlaying = true});
  open.applications.set(200, "Browser");
  open.state->refreshEnvironment();
  EXPECT_TRUE(open.comesToShow("entry.app com.example.Browser"));
  EXPECT_TRUE(open.shows("addSource.list"));
}

TEST(AddMenus, clickAddsAMonitorWithItsWires) {
  EditorWindow open;
  EXPECT_EQ(open.property("addMonitor", "help"), "Add a monitor");
  open.click("addMonitor");
  ASSERT_TRUE(open.comesToShow("entry.monitor Speakers"));
  open.click("entry.monitor Speakers");
  ASSERT_THAT(open.graph().monitors, SizeIs(1));
  EXPECT_EQ(open.graph().monitors[0].name, "Studio Speakers");
  EXPECT_THAT(open.graph().monitorWires, SizeIs(2));
}

}  // namespace
}  // namespace brindlemux
