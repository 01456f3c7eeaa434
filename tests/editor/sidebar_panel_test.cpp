#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "editor/editor_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::EditorWindow;
using test::eventually;
using test::player;
using testing::SizeIs;

const std::string uidA = device("A").uid;
const std::string uidB = device("B").uid;
const std::string rowA = "device." + uidA;
const std::string rowB = "device." + uidB;

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
  EXPECT_EQ(open.state->virtualDevices()[0].name, "B");
  EXPECT_TRUE(eventually([&] { return !open.shows("confirmation.confirm"); }));
}

TEST(SidebarPanel, nameFromRightToLeftDoesNotTurnTheQuestionRound) {
  VirtualDeviceConfig named = device("A");
  named.name = "مشغل الصوت";
  const EditorWindow open({named});
  open.click("sidebar.delete");
  ASSERT_TRUE(open.comesToShow("confirmation.message"));
  EXPECT_EQ(open.property("confirmation.message", "effectiveHorizontalAlignment").toInt(), Qt::AlignLeft);
  // What keeps the name apart takes no room.
  QString message = open.property("confirmation.message", "text").toString();
  EXPECT_EQ(message.remove(QChar(0x2068)).remove(QChar(0x2069)).toStdString(),
            "“مشغل الصوت” will disappear from the system. Its routing graph will be deleted.");
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

}  // namespace
}  // namespace brindlemux
