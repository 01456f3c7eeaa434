#include "editor/wire_curve.h"

#include <cmath>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

TEST(WireCurve, handlesAreHalfTheHorizontalDistance) {
  const WireCurve curve = WireCurve::between({100, 20}, {400, 220});
  EXPECT_EQ(curve.startControl, QPointF(250, 20));
  EXPECT_EQ(curve.endControl, QPointF(250, 220));
}

TEST(WireCurve, handlesHaveALeastLength) {
  // Half of 60 is less than 48.
  const WireCurve curve = WireCurve::between({0, 0}, {60, 100});
  EXPECT_EQ(curve.startControl, QPointF(48, 0));
  EXPECT_EQ(curve.endControl, QPointF(12, 100));
}

TEST(WireCurve, bulgesOutOnBothSidesWhenItsEndLiesLeftOfItsStart) {
  const WireCurve curve = WireCurve::between({0, 0}, {-40, 100});
  EXPECT_EQ(curve.startControl, QPointF(48, 0));
  EXPECT_EQ(curve.endControl, QPointF(-88, 100));
  const WireCurve wide = WireCurve::between({0, 0}, {-400, 100});
  EXPECT_EQ(wide.startControl, QPointF(200, 0));
  EXPECT_EQ(wide.endControl, QPointF(-600, 100));
}

TEST(WireCurve, startsAndEndsAtItsEnds) {
  const WireCurve curve = WireCurve::between({1, 2}, {301, 52});
  EXPECT_EQ(curve.at(0), QPointF(1, 2));
  EXPECT_EQ(curve.at(1), QPointF(301, 52));
  // Symmetric about its middle.
  EXPECT_EQ(curve.at(0.5), QPointF(151, 27));
}

TEST(DistanceToWire, isMeasuredToTheNearestPlace) {
  // A level wire is a straight line.
  EXPECT_NEAR(distanceToWire({150, 8.5}, {0, 0}, {300, 0}), 8.5, 1e-9);
  EXPECT_NEAR(distanceToWire({150, 0}, {0, 0}, {300, 0}), 0, 1e-9);
  // Beside an end, to the end: 3-4-5.
  EXPECT_NEAR(distanceToWire({-3, 4}, {0, 0}, {300, 0}), 5, 1e-9);
}

TEST(DistanceToWire, holdsForAWireWithoutExtent) {
  // Both handles are 48 long: the curve leaves to the right and comes back from the left through its only end.
  EXPECT_NEAR(distanceToWire({10, 10}, {10, 10}, {10, 10}), 0, 1e-9);
  EXPECT_LT(distanceToWire({10, 17}, {10, 10}, {10, 10}), 7.001);
}

TEST(SegmentDistance, ofASegmentWithoutLengthIsThatToItsStart) {
  const SegmentDistance found = SegmentDistance::of({3, 4}, {0, 0}, {0, 0});
  EXPECT_DOUBLE_EQ(found.distance, 5);
  EXPECT_DOUBLE_EQ(found.at, 0);
}

}  // namespace
}  // namespace brindlemux
