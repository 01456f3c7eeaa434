// What the views of the editor say and how they look, word by word, length by length and colour by colour.
#include <QFont>
#include <QImage>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/shown.h"
#include "editor/cards_window.h"

namespace brindlemux {
namespace {

using test::device;
using test::EditorWindow;
using test::eventually;
using test::monitorA;
using test::player;
using test::sourceA;
using test::sourceB;
using test::speakers;
using testing::IsSupersetOf;

const QColor accent = QColor::fromRgbF(0.471F, 0.733F, 0.961F);
const QColor activity = QColor::fromRgbF(0.8F, 0.922F, 1.0F);
const QColor panel = QColor::fromRgbF(0.135F, 0.146F, 0.168F);
const QColor border = QColor::fromRgbF(0.27F, 0.29F, 0.335F);
const QColor secondary = QColor::fromRgbF(0.64F, 0.665F, 0.715F);

/// What is seen where one colour lies on another.
QColor over(const QColor& ground, const QColor& colour, float opacity) {
  const auto mix = [opacity](float below, float above) { return below + (above - below) * opacity; };
  return QColor::fromRgbF(mix(ground.redF(), colour.redF()), mix(ground.greenF(), colour.greenF()),
                          mix(ground.blueF(), colour.blueF()));
}

struct Looks : EditorWindow {
  Looks() {
    edit([](DeviceGraph& graph) {
      graph.sources = {player(1), player(2)};
      graph.sources[1].kind = MicSource{"Microphone", "Desk Microphone"};
      graph.wires = {{player(1).id, 0, 0}};
      graph.monitors = {speakers(9)};
    });
    item(sourceB);
    item(monitorA);
    settle();
  }

  /// Whether two colours are the same on a screen, which has 256 steps.
  static bool isSame(const QColor& shown, const QColor& colour, int tolerance) {
    return std::abs(shown.red() - colour.red()) <= tolerance && std::abs(shown.green() - colour.green()) <= tolerance &&
           std::abs(shown.blue() - colour.blue()) <= tolerance;
  }
  /// Whether the colour of that point of an item is this one, but for the rounding of a few layers.
  bool isColour(const std::string& name, QPointF place, const QColor& colour, int tolerance = 2) const {
    return eventually([&] { return isSame(colourAt(name, place), colour, tolerance); }, std::chrono::seconds(10));
  }
  QColor colourAt(const std::string& name, QPointF place) const {
    const QPointF at = item(name)->mapToScene(place) * window()->effectiveDevicePixelRatio();
    return window()->grabWindow().pixelColor(static_cast<int>(at.x()), static_cast<int>(at.y()));
  }
  QPointF middleOf(const std::string& name) const { return {item(name)->width() / 2, item(name)->height() / 2}; }
  QColor colour(const std::string& name, const char* property) const {
    return this->property(name, property).value<QColor>();
  }
  int fontSize(const std::string& name) const { return property(name, "font").value<QFont>().pixelSize(); }

  std::string symbol(const std::string& name) const { return test::shownSymbols(*item(name)).at(0); }
};

TEST(Looks, wordsOfADeviceWithoutNodes) {
  Looks open;
  open.edit([](DeviceGraph& graph) { graph = DeviceGraph(graph.deviceUID); });
  ASSERT_TRUE(open.comesToShow("monitors.empty"));
  EXPECT_THAT(test::shownTexts(*open.window()->contentItem()),
              IsSupersetOf({"VIRTUAL DEVICES", "New Virtual Device", "Disconnect Wire", "Sources", "Output Channels",
                            "Monitors", "Pass-Thru", "Channels", "No sources yet", "No monitors yet"}));
}

TEST(Looks, symbolsSayWhatThingsAre) {
  Looks open;
  open.edit([](DeviceGraph& graph) {
    graph.sources.push_back(player(3));
    graph.sources.back().kind = SystemAudioSource{};
  });
  EXPECT_EQ(open.symbol("device." + device("A").uid), "waveform.circle.fill");
  EXPECT_EQ(open.symbol("sidebar.create"), "plus");
  EXPECT_EQ(open.symbol("sidebar.delete"), "minus");
  EXPECT_EQ(open.symbol("detail.rename"), "pencil");
  EXPECT_EQ(open.symbol("detail.settings"), "slider.horizontal.3");
  EXPECT_EQ(open.symbol("detail.disconnect"), "scissors");
  EXPECT_EQ(open.symbol("output.removePair"), "minus.circle.fill");
  EXPECT_EQ(open.symbol("output.addPair"), "plus.circle.fill");
  EXPECT_EQ(open.symbol("output"), "cable.connector");
  EXPECT_EQ(open.symbol(sourceA), "app.badge");
  EXPECT_EQ(open.symbol(sourceB), "mic.fill");
  EXPECT_EQ(open.symbol("source." + player(3).id.string()), "speaker.wave.2.fill");
  EXPECT_EQ(open.symbol(monitorA), "hifispeaker.fill");
  EXPECT_EQ(open.symbol(sourceA + ".gainToggle"), "slider.horizontal.3");
  for (const std::string& card : {sourceA, monitorA, std::string("output")}) {
    open.click(card + ".gainToggle");
    EXPECT_EQ(open.symbol(card + ".gain"), "speaker.wave.2.fill");
  }
  open.click("detail.rename");
  EXPECT_EQ(open.symbol("detail.saveName"), "checkmark.circle.fill");
}

TEST(Looks, columnsKeepTheirDistances) {
  const Looks open;
  const auto top = [&](const std::string& name) {
    return open.item(name)->mapToItem(open.item("canvas.space"), {}).y();
  };
  // Below the padding and the column's header.
  EXPECT_EQ(top("passThru"), 32 + 26 + 14);
  EXPECT_EQ(top("output"), 32 + 26 + 14);
  EXPECT_EQ(top(monitorA), 32 + 26 + 14);
  EXPECT_EQ(top(sourceA), top("passThru") + open.item("passThru")->height() + 14);
  EXPECT_EQ(top(sourceB), top(sourceA) + open.item(sourceA)->height() + 14);
  // The first thing of a card is a symbol in a line of 22.
  const QPointF first = open.item(sourceA + ".name")->mapToItem(open.item(sourceA), {0, 0});
  EXPECT_EQ(first, QPointF(14 + 17 + 8, 14));
}

TEST(Looks, canvasDarkensDownwards) {
  Looks open;
  const QQuickItem* canvas = open.item("canvas");
  EXPECT_TRUE(open.isColour("canvas", {4, 1}, QColor::fromRgbF(0.11F, 0.12F, 0.14F)));
  // Just above the line around the window.
  EXPECT_TRUE(open.isColour("canvas", {4, canvas->height() - 2}, QColor::fromRgbF(0.085F, 0.093F, 0.11F)));
}

TEST(Looks, cardHasALineThatFadesDownwards) {
  Looks open;
  const QQuickItem* card = open.item("passThru");
  EXPECT_TRUE(open.isColour("passThru", {128, 0}, over(panel, border, 0.9F)));
  EXPECT_TRUE(open.isColour("passThru", {0, card->height() / 2}, over(panel, border, 0.675F)));
  EXPECT_TRUE(open.isColour("passThru", {128, card->height() - 1}, over(panel, border, 0.45F)));
  EXPECT_TRUE(open.isColour("passThru", {128, 1}, panel));
  EXPECT_TRUE(open.isColour("passThru", {1, card->height() / 2}, panel));
  // A shadow lies around it, and more of it below.
  const QColor above = open.colourAt("passThru", {128, -2});
  const QColor below = open.colourAt("passThru", {128, card->height() + 1});
  EXPECT_LT(below.green(), above.green());
}

TEST(Looks, cornersAreSmooth) {
  Looks open;
  MeterSnapshot meters;
  meters.sourcePeaks[player(1).id] = {0.75F, 0};
  AppStateProbe::setMeters(*open.state, device("A").uid, meters);
  const std::string meter = sourceA + ".channel.0.meter";
  ASSERT_TRUE(open.isColour(meter, {open.item(meter)->width() / 4, 3}, over(accent, activity, 1.0F / 3)));
  // Points that the roundings of radius 12 and of radius 3 cut in half.
  const auto isBetween = [](const QColor& colour, const QColor& dark, const QColor& light) {
    return dark.blue() + 10 < colour.blue() && colour.blue() < light.blue() - 10;
  };
  EXPECT_TRUE(isBetween(open.colourAt("passThru", {3, 3}), QColor(24, 26, 30), over(panel, border, 0.9F)));
  EXPECT_TRUE(isBetween(open.colourAt(meter, {0, 1}), over(panel, Qt::white, 0.08F), accent));
}

TEST(Looks, portsAreLitWhenConnected) {
  const Looks open;
  const std::string lit = sourceA + ".channel.0.port";
  const std::string dark = sourceA + ".channel.1.port";
  EXPECT_TRUE(open.isColour(lit, {6.5, 6.5}, activity));
  EXPECT_TRUE(open.isColour(lit, {6.5, 0.5}, accent));
  EXPECT_TRUE(open.isColour(dark, {6.5, 6.5}, panel));
  // The outline, but for what the circle leaves of its topmost pixel.
  EXPECT_TRUE(open.isColour(dark, {6.5, 0.5}, over(panel, secondary, 0.7F), 4));
  // One glows and the other does not.
  EXPECT_GT(open.colourAt(lit, {6.5, -2}).blue(), panel.blue() + 8);
  EXPECT_TRUE(open.isColour(dark, {6.5, -2}, panel));
}

TEST(Looks, metersGoFromTheAccentToTheActivityAndAreRedWhenHot) {
  Looks open;
  const std::string meter = sourceA + ".channel.0.meter";
  const auto play = [&](float level) {
    MeterSnapshot meters;
    meters.sourcePeaks[player(1).id] = {level, 0};
    AppStateProbe::setMeters(*open.state, device("A").uid, meters);
  };
  const double width = open.item(meter)->width();
  const double middle = open.item(meter)->height() / 2;
  EXPECT_TRUE(open.isColour(meter, {width / 2, middle}, over(panel, Qt::white, 0.08F)));
  play(0.75F);
  EXPECT_TRUE(open.isColour(meter, {1, middle}, accent));
  EXPECT_TRUE(open.isColour(meter, {width * 0.75 / 2, middle}, over(accent, activity, 0.5F)));
  EXPECT_TRUE(open.isColour(meter, {width * 0.75 - 2, middle}, activity));
  EXPECT_TRUE(open.isColour(meter, {width * 0.75 + 2, middle}, over(panel, Qt::white, 0.08F)));
  play(1);
  const QColor red = open.colour(meter, "leading");
  EXPECT_EQ(open.colour(meter, "trailing"), red);
  EXPECT_GT(red.redF(), 0.9F);
  for (const double part : {0.02, 0.5, 0.98}) EXPECT_TRUE(open.isColour(meter, {width * part, middle}, red)) << part;
}

TEST(Looks, labelsAndFigures) {
  Looks open;
  open.click(sourceA + ".gainToggle");
  open.click("output.gainToggle");
  ASSERT_TRUE(open.comesToShow("output.master"));
  const std::string label = sourceA + ".channel.0.label";
  EXPECT_EQ(open.item(label)->width(), 36);
  EXPECT_EQ(open.property(label, "effectiveHorizontalAlignment").toInt(), Qt::AlignLeft);
  EXPECT_TRUE(Looks::isSame(open.colour(label, "color"), secondary, 0));
  const std::string percent = sourceA + ".gain.text";
  EXPECT_EQ(open.item(percent)->width(), 44);
  EXPECT_EQ(open.property(percent, "effectiveHorizontalAlignment").toInt(), Qt::AlignRight);
  EXPECT_TRUE(Looks::isSame(open.colour(percent, "color"), secondary, 0));
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 1.004F; });
  EXPECT_TRUE(Looks::isSame(open.colour(percent, "color"), accent, 0));
  EXPECT_EQ(open.property(sourceA + ".gain.slider", "from"), 0);
  EXPECT_EQ(open.property(sourceA + ".gain.slider", "to"), 4);
  EXPECT_EQ(open.fontSize("output.master"), 9);
  EXPECT_EQ(open.property("output.master", "font").value<QFont>().letterSpacing(), 1);
  EXPECT_EQ(open.fontSize("passThru.name"), 13);
  EXPECT_EQ(open.fontSize("output.name"), 13);
}

TEST(Looks, volumeButtonIsMarkedWhileOpenOrBoosted) {
  Looks open;
  const std::string button = sourceA + ".gainToggle";
  EXPECT_EQ(QSizeF(open.item(button)->width(), open.item(button)->height()), QSizeF(22, 22));
  EXPECT_EQ(open.property(button, "symbolSize"), 12);
  EXPECT_EQ(open.colour(button, "symbolColor"), secondary);
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 0.5F; });
  EXPECT_EQ(open.colour(button, "symbolColor"), accent);
  EXPECT_TRUE(open.isColour(button, {3, 11}, panel));
  open.edit([](DeviceGraph& graph) { graph.sources[0].gain = 1; });
  open.click(button);
  EXPECT_EQ(open.colour(button, "symbolColor"), accent);
  EXPECT_EQ(open.item(button)->property("background").value<QQuickItem*>()->property("radius"), 6);
  QTest::mouseMove(open.window(), QPoint(600, 890));
  EXPECT_TRUE(open.isColour(button, {3, 11}, over(panel, accent, 0.16F)));
}

}  // namespace
}  // namespace brindlemux
