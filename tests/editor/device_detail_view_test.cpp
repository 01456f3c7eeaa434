#include <cstddef>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "editor/editor_window.h"
#include "editor/wire_selection.h"

namespace brindlemux {
namespace {

using test::device;
using test::EditorWindow;
using test::eventually;
using test::player;
using testing::ElementsAre;

const std::string uidA = device("A").uid;
const std::string uidB = device("B").uid;
const std::string rowA = "device." + uidA;
const std::string rowB = "device." + uidB;

std::string nameOf(const EditorWindow& open, std::size_t number = 0) {
  return open.state->virtualDevices().at(number).name;
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

TEST(DeviceDetailView, focusGoesFromTheSidebarThroughTheHeaderToTheCanvas) {
  const EditorWindow open;
  open.focus("sidebar.delete");
  for (const char* next : {"detail.rename", "detail.settings", "detail.enabled", "addSource"}) {
    open.key(Qt::Key_Tab);
    EXPECT_TRUE(open.hasFocus(next)) << next << ", but "
                                     << open.window()->activeFocusItem()->objectName().toStdString();
  }
  open.key(Qt::Key_Tab, Qt::ShiftModifier);
  EXPECT_TRUE(open.hasFocus("detail.enabled"));
}

TEST(DeviceDetailView, disabledButtonSaysWhatItIsForToo) {
  const EditorWindow open;
  ASSERT_FALSE(open.property("detail.disconnect", "enabled").toBool());
  open.hover("detail.disconnect");
  EXPECT_TRUE(eventually([&] {
    const QObject* tip = open.item("detail.disconnect")->findChild<QObject*>("helpTip");
    return tip != nullptr && tip->property("opened").toBool();
  }));
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

}  // namespace
}  // namespace brindlemux
