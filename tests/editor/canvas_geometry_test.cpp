#include "editor/canvas_geometry.h"

#include <QVariant>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

struct Sized : CanvasGeometry {
  Sized(double width, double height, double columnHeight) {
    setProperty("visibleWidth", QVariant(width));
    setProperty("visibleHeight", QVariant(height));
    setProperty("columnHeight", QVariant(columnHeight));
  }
  double firstGap() const { return outputX() - (padding() + sideWidth()); }
  double secondGap() const { return monitorsX() - (outputX() + outputWidth()); }
};

TEST(CanvasGeometry, neverNarrowerOrLowerThanItsLeastSize) {
  const Sized canvas(500, 300, 0);
  EXPECT_EQ(canvas.contentWidth(), 920);
  EXPECT_EQ(canvas.contentHeight(), 560);
  EXPECT_EQ(canvas.firstGap(), 56);
  EXPECT_EQ(canvas.secondGap(), 56);
  EXPECT_EQ(canvas.monitorsX() + canvas.sideWidth() + canvas.padding(), 920);
}

TEST(CanvasGeometry, widerViewsWidenTheGaps) {
  const Sized canvas(1320, 800, 100);
  EXPECT_EQ(canvas.contentWidth(), 1320);
  EXPECT_EQ(canvas.contentHeight(), 800);
  // 400 more than the least width, half of it each.
  EXPECT_EQ(canvas.firstGap(), 256);
  EXPECT_EQ(canvas.secondGap(), 256);
}

TEST(CanvasGeometry, tallColumnsScroll) {
  const Sized canvas(920, 560, 1000);
  EXPECT_EQ(canvas.contentHeight(), 1064);
  // 560 less the padding is what fits.
  EXPECT_EQ(Sized(920, 560, 496).contentHeight(), 560);
  EXPECT_EQ(Sized(920, 560, 497).contentHeight(), 561);
}

TEST(CanvasGeometry, columnsStandOnWholePoints) {
  const Sized canvas(1001, 560, 0);
  EXPECT_EQ(canvas.firstGap(), 96);
  EXPECT_EQ(canvas.secondGap(), 97);
}

}  // namespace
}  // namespace brindlemux
