#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

#include "editor/cards_window.h"

namespace brindlemux {
namespace {

using test::Cards;
using test::device;
using test::eventually;
using test::player;
using test::sourceA;
using test::sourceB;
using testing::SizeIs;

TEST(NodeCards, volumeOpensAndClosesTheGainRow) {
  Cards open;
  EXPECT_EQ(open.property(sourceA + ".gainToggle", "help"), "Volume");
  open.openGain(sourceA);
  EXPECT_FALSE(open.shows(sourceB + ".gain"));
  EXPECT_EQ(open.text(sourceA + ".gain.text"), "100%");
  open.click(sourceA + ".gainToggle");
  EXPECT_FALSE(open.shows(sourceA + ".gain"));
}

TEST(NodeCards, gainTextIsAccentedAboveUnity) {
  Cards open;
  open.openGain(sourceA);
  const QVariant plain = open.property(sourceA + ".gain.text", "color");
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 1.004F; });
  EXPECT_EQ(open.text(sourceA + ".gain.text"), "100%");
  EXPECT_NE(open.property(sourceA + ".gain.text", "color"), plain);
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 0.5F; });
  EXPECT_EQ(open.text(sourceA + ".gain.text"), "50%");
  EXPECT_EQ(open.property(sourceA + ".gain.text", "color"), plain);
}

TEST(NodeCards, toggleIsMarkedByAnyGainButUnity) {
  Cards open;
  EXPECT_FALSE(open.property(sourceA + ".gainToggle", "boosted").toBool());
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 0.9F; });
  EXPECT_TRUE(open.property(sourceA + ".gainToggle", "boosted").toBool());
  open.edit([](DeviceGraph& graph) { graph.masterGain = 1.1F; });
  EXPECT_TRUE(open.property("output.gainToggle", "boosted").toBool());
}

TEST(NodeCards, sliderFollowsTheHandAndSavesEveryStep) {
  Cards open;
  open.openGain(sourceB);
  const std::string slider = sourceB + ".gain.slider";
  open.press(open.handle(slider, 1));
  open.move(open.handle(slider, 2));
  open.move(open.handle(slider, 3));
  EXPECT_NEAR(open.gain(1), 3, 0.05);
  EXPECT_EQ(open.gain(0), 1.0F);
  open.release(open.handle(slider, 3));
  EXPECT_NEAR(open.sliderValue(slider), open.gain(1), 1e-6);
  EXPECT_THAT(open.graphsFile(), testing::HasSubstr("\"gain\""));
}

TEST(NodeCards, heldSliderIgnoresWhatHappensMeanwhile) {
  Cards open;
  open.openGain(sourceB);
  const std::string slider = sourceB + ".gain.slider";
  const QQuickItem* held = open.item(slider);
  open.press(open.handle(slider, 1));
  open.move(open.handle(slider, 2));
  const double value = open.sliderValue(slider);
  open.edit([](DeviceGraph& graph) {
    graph.sources[1].gain = 0.25F;
    graph.sources.push_back(player(3));
  });
  open.state->reload();
  open.advance(AppState::refreshInterval);
  EXPECT_EQ(open.seek(slider), held);
  EXPECT_EQ(open.sliderValue(slider), value);
  EXPECT_TRUE(held->property("pressed").toBool());
  open.move(open.handle(slider, 3));
  EXPECT_NEAR(open.gain(1), 3, 0.05);
  open.release(open.handle(slider, 3));
}

TEST(NodeCards, releasedSliderShowsTheGainThatIsSet) {
  Cards open;
  open.openGain(sourceA);
  const std::string slider = sourceA + ".gain.slider";
  open.press(open.handle(slider, 1));
  open.move(open.handle(slider, 2));
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 0.5F; });
  const QPoint at = open.handle(slider, open.sliderValue(slider));
  open.release(at);
  EXPECT_TRUE(eventually([&] { return open.sliderValue(slider) == static_cast<double>(open.gain(0)); }));
}

TEST(NodeCards, sourceRemovedWhileItsSliderIsHeldChangesNoOther) {
  Cards open;
  open.openGain(sourceA);
  const std::string slider = sourceA + ".gain.slider";
  const QPoint low = open.handle(slider, 1);
  const QPoint high = open.handle(slider, 3.5);
  open.press(low);
  open.move(open.handle(slider, 1.5));
  open.edit([](DeviceGraph& graph) { std::erase_if(graph.sources, [](auto& s) { return s.id == player(1).id; }); });
  open.move(high);
  EXPECT_TRUE(eventually([&] { return open.seek(sourceA) == nullptr; }));
  open.move(low);
  open.release(high);
  ASSERT_THAT(open.graph().sources, SizeIs(1));
  EXPECT_EQ(open.gain(0), 1.0F);
}

TEST(NodeCards, deviceThatVanishesWhileASliderIsHeldChangesNoOther) {
  Cards open;
  open.state->updateGraph(device("B").uid, AppState::Persist::yes, [](DeviceGraph& graph) {
    graph.sources = {player(1)};  // by the same identifier
    graph.masterGain = 0.5F;
  });
  for (const std::string& card : {sourceA, std::string("output")}) {
    open.openGain(card);
    const std::string slider = card + ".gain.slider";
    const QPoint low = open.handle(slider, 1);
    const QPoint high = open.handle(slider, 3.5);
    open.press(low);
    open.move(open.handle(slider, 1.5));
    open.publish({device("B", 4)});
    open.state->reload();
    open.move(high);
    EXPECT_TRUE(eventually([&] { return open.shows("detail." + device("B").uid); }));
    open.move(low);
    open.release(high);
    EXPECT_EQ(open.state->graph(device("B").uid).sources.at(0).gain, 1.0F);
    EXPECT_EQ(open.state->graph(device("B").uid).masterGain, 0.5F);
    open.publish({device("A"), device("B", 4)});
    open.state->reload();
    open.state->setSelectedDeviceUID(device("A").uid);
    ASSERT_TRUE(open.comesToShow(sourceB));
  }
}

TEST(NodeCards, keyThatIsHeldAsTheFocusGoesLeavesTheSliderToTheGain) {
  Cards open;
  open.openGain(sourceA);
  const std::string slider = sourceA + ".gain.slider";
  open.focus(slider);
  QTest::keyPress(open.window(), Qt::Key_Right);
  open.focus("sidebar.devices");
  QTest::keyRelease(open.window(), Qt::Key_Right);
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 2.5F; });
  EXPECT_TRUE(eventually([&] { return open.sliderValue(slider) == 2.5; }, std::chrono::seconds(5)));
}

TEST(NodeCards, keysMoveASlider) {
  Cards open;
  open.openGain(sourceA);
  open.focus(sourceA + ".gain.slider");
  open.key(Qt::Key_Right);
  EXPECT_NEAR(open.gain(0), 1.01, 1e-6);
  open.key(Qt::Key_Left);
  open.key(Qt::Key_Left);
  EXPECT_NEAR(open.gain(0), 0.99, 1e-6);
  open.key(Qt::Key_PageUp);
  EXPECT_NEAR(open.gain(0), 1.09, 1e-6);
  open.key(Qt::Key_End);
  EXPECT_EQ(open.gain(0), 4.0F);
  open.key(Qt::Key_Right);
  EXPECT_EQ(open.gain(0), 4.0F);
  open.key(Qt::Key_Home);
  EXPECT_EQ(open.gain(0), 0.0F);
  EXPECT_EQ(open.text(sourceA + ".gain.text"), "0%");
}

TEST(NodeCards, doubleClickReturnsToUnity) {
  Cards open;
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 3; });
  open.openGain(sourceA);
  open.doubleClick(sourceA + ".gain.slider");
  EXPECT_TRUE(eventually([&] { return open.gain(0) == 1.0F; }));
}

TEST(NodeCards, pressedSliderTakesTheFocusAndStaysUnderThePointer) {
  Cards open;
  open.edit([](DeviceGraph& graph) {
    for (std::uint8_t number = 20; number < 30; ++number) graph.sources.push_back(player(number));
  });
  open.openGain(sourceB);
  QQuickItem* canvas = open.item("canvas.flickable");
  const std::string slider = sourceB + ".gain.slider";
  // Scrolled so far that only the lower half of the slider can be seen.
  const QQuickItem* item = open.item(slider);
  open.settle();
  const QPointF middle{item->width() / 2, item->height() / 2};
  canvas->setProperty("contentY", item->mapToItem(canvas->property("contentItem").value<QQuickItem*>(), middle).y());
  const double contentY = canvas->property("contentY").toDouble();
  const QPoint at = open.handle(slider, 2) + QPoint(0, 4);
  open.press(at);
  EXPECT_TRUE(open.hasFocus(slider));
  open.settle();
  EXPECT_EQ(canvas->property("contentY").toDouble(), contentY);
  EXPECT_NEAR(open.gain(1), 2, 0.05);
  // A hand that wavers does not scroll either.
  open.move(at + QPoint(0, 30));
  open.move(at + QPoint(0, 60));
  open.settle();
  EXPECT_EQ(canvas->property("contentY").toDouble(), contentY);
  EXPECT_TRUE(item->property("pressed").toBool());
  open.release(at + QPoint(0, 60));
  // The keys have it, and bring it into sight when they come back to it.
  open.key(Qt::Key_Home);
  EXPECT_EQ(open.gain(1), 0.0F);
  open.focus("sidebar.devices");
  open.focus(slider);
  EXPECT_LT(canvas->property("contentY").toDouble(), contentY);
}

TEST(NodeCards, gainRowStaysOpenWhileOtherNodesComeAndGo) {
  Cards open;
  open.openGain(sourceB);
  const QQuickItem* card = open.item(sourceB);
  open.edit([](DeviceGraph& graph) {
    graph.sources.erase(graph.sources.begin());
    graph.sources.insert(graph.sources.begin(), player(3));
    graph.sources.push_back(player(4));
  });
  EXPECT_EQ(open.seek(sourceB), card);
  EXPECT_TRUE(open.shows(sourceB + ".gain"));
}

TEST(NodeCards, masterGainIsEditedOnTheOutputCard) {
  Cards open;
  open.openGain("output");
  EXPECT_TRUE(open.shows("output.master"));
  EXPECT_EQ(open.text("output.master"), "MASTER");
  open.focus("output.gain.slider");
  open.key(Qt::Key_Home);
  EXPECT_EQ(open.graph().masterGain, 0.0F);
}

}  // namespace
}  // namespace brindlemux
