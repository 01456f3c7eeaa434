#include <QCoreApplication>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/editor_window.h"

namespace brindlemux {
namespace {

using test::EditorWindow;
using test::eventually;
using testing::IsEmpty;
using testing::SizeIs;

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

TEST(AddMenus, deviceThatVanishesTakesItsOpenMenuAlong) {
  EditorWindow open;
  open.click("addSource");
  ASSERT_TRUE(open.comesToShow("entry.app com.example.Player"));
  open.publish({test::device("B", 4)});
  open.state->reload();
  // As the program's own event loop does with what was to be deleted later.
  QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
  EXPECT_TRUE(
      eventually([&] { return open.shows("detail." + test::device("B").uid) && !open.shows("addSource.list"); }));
  open.key(Qt::Key_Return);
  EXPECT_THAT(open.state->graph(test::device("B").uid).sources, IsEmpty());
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
