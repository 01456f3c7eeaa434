#include <QElapsedTimer>
#include <gtest/gtest.h>

#include "app/open_window.h"
#include "app/shell/onboarding_steps.h"

namespace brindlemux {
namespace {

using test::device;
using test::eventually;
using test::OpenWindow;

/// What stands in the file of the user defaults, read anew.
bool seenOnDisk() { return QSettings("Brindlemux", "Brindlemux").value("onboarding.seen").toBool(); }

/// The window of a first start.
struct FirstStart : OpenWindow {
  FirstStart() : OpenWindow({device("A")}, Start::first) {
    if (!eventually([this] { return hasFocus("onboarding.next"); })) throw std::runtime_error("no onboarding");
  }
  /// The page whose place is the middle of the sheet, once it has come to rest there.
  void expectPage(int page) const {
    const std::string name = "onboarding.page." + std::to_string(page);
    EXPECT_TRUE(eventually([&] { return item(name)->mapToItem(item(name)->parentItem()->parentItem(), {}).x() == 0; }))
        << name;
    EXPECT_TRUE(item(name)->property("current").toBool()) << name;
  }
  bool isOpen() const { return shows("onboarding.next"); }
};

TEST(Onboarding, stepsAreFourWithIdsOfTheirOwn) {
  const OnboardingSteps steps;
  const QList<OnboardingStep>& list = steps.list();
  ASSERT_EQ(list.size(), 4);
  const std::vector<std::array<QString, 3>> expected = {
      {"waveform.circle.fill", "Welcome to Brindlemux",
       "Route any audio on your Mac — capture apps, your mic, or system sound and send it anywhere with a simple "
       "visual graph."},
      {"plus.rectangle.on.rectangle.fill", "Create a virtual device",
       "A virtual device shows up like any normal audio device, so any app — Zoom, OBS, Logic — can record from it. "
       "Add one from the sidebar."},
      {"app.badge.fill", "Add sources",
       "Add an app, your microphone, or full system audio as a source. Then drag from its ports to the output channels "
       "to route it."},
      {"hifispeaker.2.fill", "Monitor live",
       "Add a monitor (your speakers or interface) and connect the output channels to hear everything live — with "
       "near-zero latency."}};
  std::set<QUuid> ids;
  for (qsizetype index = 0; index < list.size(); ++index) {
    EXPECT_EQ((std::array{list[index].icon, list[index].title, list[index].body}),
              expected[static_cast<std::size_t>(index)]);
    ids.insert(list[index].id);
  }
  EXPECT_EQ(ids.size(), 4U);
  EXPECT_NE(OnboardingSteps().list().constFirst().id, list.constFirst().id);
}

TEST(Onboarding, firstStartShowsTheFirstPage) {
  const FirstStart open;
  open.expectPage(0);
  EXPECT_EQ(open.text("onboarding.page.0.title"), "Welcome to Brindlemux");
  EXPECT_EQ(open.text("onboarding.next"), "Next");
  EXPECT_EQ(open.text("onboarding.skip"), "Skip");
  EXPECT_FALSE(open.shows("onboarding.back"));
  EXPECT_FALSE(seenOnDisk());
}

TEST(Onboarding, laterStartShowsNone) {
  const OpenWindow open({device("A")});
  EXPECT_FALSE(open.shows("onboarding.next"));
}

TEST(Onboarding, pagesGoForwardAndBack) {
  const FirstStart open;
  open.click("onboarding.next");
  open.expectPage(1);
  EXPECT_EQ(open.text("onboarding.back"), "Back");
  open.click("onboarding.back");
  open.expectPage(0);
  EXPECT_FALSE(open.shows("onboarding.back"));
  for (int page = 1; page <= 3; ++page) {
    open.click("onboarding.next");
    open.expectPage(page);
  }
  EXPECT_EQ(open.text("onboarding.next"), "Get Started");
  EXPECT_FALSE(seenOnDisk());
  open.click("onboarding.next");
  EXPECT_TRUE(eventually([&] { return !open.isOpen(); }));
  EXPECT_TRUE(seenOnDisk());
}

TEST(Onboarding, pagesTakeAFifthOfASecondToTurn) {
  const FirstStart open;
  for (const char* button : {"onboarding.next", "onboarding.back"}) {
    QElapsedTimer timer;
    timer.start();
    open.click(button);
    open.expectPage(button == std::string("onboarding.next") ? 1 : 0);
    // At least: a busy machine shows the last frame later. The first one may count for the time since the one before.
    EXPECT_GE(timer.elapsed(), 200 - 34) << button;
  }
}

TEST(Onboarding, symbolAndTitleStayInTheirPlaceFromPageToPage) {
  const FirstStart open;
  const auto top = [&open](int page, const char* part) {
    const std::string name = "onboarding.page." + std::to_string(page);
    return open.item(name + part)->mapToItem(open.item(name), {0, 0}).y();
  };
  for (int page = 0; page < 4; ++page) {
    EXPECT_EQ(top(page, ".icon"), top(0, ".icon")) << page;
    EXPECT_EQ(top(page, ".title"), top(0, ".title")) << page;
    // And the text ends above the buttons.
    const QQuickItem* body = open.item("onboarding.page." + std::to_string(page) + ".body");
    EXPECT_LE(top(page, ".body") + body->height(), open.item("onboarding.page.0")->height()) << page;
  }
}

TEST(Onboarding, arrowsTurnPagesAndStopAtTheEnds) {
  const FirstStart open;
  open.press(Qt::Key_Left);
  open.expectPage(0);
  for (int presses = 0; presses < 5; ++presses) open.press(Qt::Key_Right);
  open.expectPage(3);
  EXPECT_TRUE(open.isOpen());
  EXPECT_FALSE(seenOnDisk());
}

TEST(Onboarding, skipClosesItForGood) {
  const FirstStart open;
  open.click("onboarding.skip");
  EXPECT_TRUE(eventually([&] { return !open.isOpen(); }));
  EXPECT_TRUE(seenOnDisk());
}

TEST(Onboarding, escapeClosesItForGood) {
  const FirstStart open;
  open.press(Qt::Key_Escape);
  EXPECT_TRUE(eventually([&] { return !open.isOpen(); }));
  EXPECT_TRUE(seenOnDisk());
}

TEST(Onboarding, closingTheWindowClosesItForGood) {
  const FirstStart open;
  open.window()->close();
  EXPECT_TRUE(seenOnDisk());
}

TEST(Onboarding, endOfTheProgramIsNoAnswer) {
  FirstStart open;
  open.app.reset();
  EXPECT_FALSE(seenOnDisk());
}

TEST(Onboarding, tabStaysWithinIt) {
  const FirstStart open;
  open.press(Qt::Key_Tab);
  EXPECT_TRUE(open.hasFocus("onboarding.skip"));
  open.press(Qt::Key_Tab);
  EXPECT_TRUE(open.hasFocus("onboarding.next"));
  open.press(Qt::Key_Return);
  open.expectPage(1);
}

}  // namespace
}  // namespace brindlemux
