#include "editor/wire_painter.h"

#include <cmath>
#include <gtest/gtest.h>

#include "editor/wire_curve.h"

namespace brindlemux {
namespace {

const WirePalette palette{.accent = QColor(0, 0, 255),
                          .activity = QColor(255, 255, 255),
                          .selection = QColor(255, 128, 0),
                          .secondary = QColor(0, 255, 0)};

/// A level wire along y = 20 from x = 10 to 210.
DrawnWire level(const WireStroke& stroke, std::optional<FlowOverlay> flow = std::nullopt) {
  return {{{10, 20}, {210, 20}}, stroke, flow};
}

QImage paint(const DrawnWire& wire, double phase = 0, double scale = 1) {
  WirePainter painter;
  painter.setScale(scale);
  painter.setPalette(palette);
  return painter.paint({wire}, QRect(0, 0, static_cast<int>(220 * scale), static_cast<int>(40 * scale)), phase);
}

/// How many points of a stroke are covered at this place along the wire.
double thickness(const QImage& image, int x, double scale = 1) {
  double covered = 0;
  for (int y = 0; y < image.height(); ++y) covered += qAlpha(image.pixel(x, y)) / 255.0;
  return covered / scale;
}

TEST(WirePainter, drawsALineOfItsWidthAndColour) {
  const QImage image = paint(level({WireStroke::Colour::accent, 1, 2}));
  // From y = 19 to 21: the pixels of rows 19 and 20, no others.
  EXPECT_EQ(image.pixel(100, 19), qRgba(0, 0, 255, 255));
  EXPECT_EQ(image.pixel(100, 20), qRgba(0, 0, 255, 255));
  EXPECT_EQ(image.pixel(100, 18), qRgba(0, 0, 0, 0));
  EXPECT_EQ(image.pixel(100, 21), qRgba(0, 0, 0, 0));
  EXPECT_NEAR(thickness(paint(level({WireStroke::Colour::accent, 1, 3.5})), 100), 3.5, 0.05);
  EXPECT_NEAR(thickness(paint(level({WireStroke::Colour::accent, 1, 1.5})), 100), 1.5, 0.05);
}

TEST(WirePainter, isSharpAtScale2) {
  const QImage image = paint(level({WireStroke::Colour::selection, 1, 2}), 0, 2);
  // From y = 38 to 42 in pixels.
  EXPECT_EQ(image.pixel(200, 38), qRgba(255, 128, 0, 255));
  EXPECT_EQ(image.pixel(200, 41), qRgba(255, 128, 0, 255));
  EXPECT_EQ(image.pixel(200, 37), qRgba(0, 0, 0, 0));
  EXPECT_EQ(image.pixel(200, 42), qRgba(0, 0, 0, 0));
}

TEST(WirePainter, hasTheOpacityOfItsStroke) {
  // Half of 255, premultiplied.
  EXPECT_EQ(paint(level({WireStroke::Colour::accent, 0.5, 2})).pixel(100, 20), qRgba(0, 0, 128, 128));
}

TEST(WirePainter, dashesBeginAtTheStart) {
  const QImage image = paint(level({WireStroke::Colour::secondary, 1, 2, 6, 4}));
  // 6 on from x = 10, 4 off, 6 on from x = 20.
  EXPECT_EQ(qAlpha(image.pixel(13, 20)), 255);
  EXPECT_EQ(qAlpha(image.pixel(18, 20)), 0);
  EXPECT_EQ(qAlpha(image.pixel(23, 20)), 255);
  EXPECT_EQ(qAlpha(image.pixel(28, 20)), 0);
}

TEST(WirePainter, followsTheCurve) {
  const WireEnds ends{{10.25, 12.5}, {230, 190}};
  WirePainter painter;
  painter.setPalette(palette);
  const QImage image = painter.paint({{ends, {WireStroke::Colour::accent, 1, 2}, {}}}, QRect(0, 0, 240, 200), 0);
  int covered = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x) {
      const double distance = distanceToWire({x + 0.5, y + 0.5}, ends.from, ends.to);
      // The hit test takes 24 segments for the curve, which is less than a quarter of a point off.
      if (distance < 0.2) {
        EXPECT_EQ(qAlpha(image.pixel(x, y)), 255) << x << ' ' << y;
      }
      if (distance > 1.8) {
        EXPECT_EQ(qAlpha(image.pixel(x, y)), 0) << x << ' ' << y;
      }
      covered += qAlpha(image.pixel(x, y)) > 0 ? 1 : 0;
    }
  }
  EXPECT_GT(covered, 250);
}

TEST(WirePainter, flowGlowsAndCarriesDashes) {
  const QImage image = paint(level({WireStroke::Colour::accent, 1, 2}, FlowOverlay{1}));
  // Glow: 4.5 wide at 0.48, beyond the line of 2. Row 18 is within it, 1.5 from the middle: covered whole.
  EXPECT_NEAR(qAlpha(image.pixel(18, 18)), 0.48 * 255, 3);
  EXPECT_EQ(qAlpha(image.pixel(18, 17)), qAlpha(image.pixel(18, 22)));
  EXPECT_NEAR(thickness(paint(level({WireStroke::Colour::accent, 0, 2}, FlowOverlay{1})), 20), 4.5 * 0.48, 0.1);
  // A dash from 10 to 14 and its cap; between two of them there is none. At level 1 it is opaque.
  EXPECT_EQ(image.pixel(12, 20), qRgba(255, 255, 255, 255));
  EXPECT_EQ(image.pixel(19, 20), qRgba(0, 0, 255, 255));
  EXPECT_EQ(image.pixel(27, 20), qRgba(255, 255, 255, 255));
}

TEST(WirePainter, dashesTravelTowardsTheEnd) {
  // A thirtieth of a second later: 3 points on.
  const QImage before = paint(level({WireStroke::Colour::accent, 1, 2}, FlowOverlay{1}), -90);
  const QImage after = paint(level({WireStroke::Colour::accent, 1, 2}, FlowOverlay{1}), -93);
  for (int x = 60; x < 160; ++x) {
    EXPECT_NEAR(qRed(after.pixel(x + 3, 20)), qRed(before.pixel(x, 20)), 24) << x;
  }
  EXPECT_NE(before, after);
}

TEST(WirePainter, passThruWiresKeepTheirDashesUnderTheFlow) {
  const WireStroke stroke{WireStroke::Colour::secondary, 0.5, 1.5, 5, 4};
  const QImage still = paint(level(stroke));
  const QImage flowing = paint(level(stroke, FlowOverlay{0}), -3);
  EXPECT_EQ(qAlpha(still.pixel(17, 20)), 0);
  // The glow is everywhere.
  EXPECT_GT(qAlpha(flowing.pixel(17, 20)), 40);
}

TEST(WirePainter, drawsOnlyTheAreaAndTheSameThere) {
  WirePainter painter;
  painter.setPalette(palette);
  const std::vector wires{level({WireStroke::Colour::accent, 1, 2}, FlowOverlay{0.5})};
  const QImage whole = painter.paint(wires, QRect(0, 0, 220, 40), -7);
  const QImage part = painter.paint(wires, QRect(50, 15, 60, 10), -7);
  EXPECT_EQ(part, whole.copy(50, 15, 60, 10));
}

TEST(WirePainter, coversNothingBeyondItsBounds) {
  WirePainter painter;
  painter.setPalette(palette);
  for (const WireEnds& ends :
       {WireEnds{{40, 40}, {140, 90}}, WireEnds{{120, 30}, {60, 95}}, WireEnds{{99, 9}, {99, 9}}}) {
    const std::vector wires{DrawnWire{ends, {WireStroke::Colour::accent, 1, 3.5}, FlowOverlay{1}}};
    const QRect area(-60, -60, 320, 240);
    const QRect bounds = painter.bounds(wires);
    const QImage image = painter.paint(wires, area, 0);
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        if (bounds.contains(x + area.left(), y + area.top())) continue;
        ASSERT_EQ(qAlpha(image.pixel(x, y)), 0) << x << ' ' << y;
      }
    }
    EXPECT_TRUE(area.contains(bounds));
  }
}

TEST(WirePainter, forgetsWiresThatAreGone) {
  WirePainter painter;
  painter.setPalette(palette);
  DrawnWires wires;
  wires.toOutput = {level({})};
  painter.paint({level({}), {{{0, 0}, {9, 9}}, {}, {}}}, QRect(0, 0, 40, 40), 0);
  EXPECT_EQ(painter.keptCount(), 2U);
  painter.forgetOthers(wires);
  EXPECT_EQ(painter.keptCount(), 1U);
}

}  // namespace
}  // namespace brindlemux
