#include "editor/drop_search.h"

#include <gtest/gtest.h>
#include <optional>

#include "editor/editor_samples.h"

namespace brindlemux {
namespace {

using test::nodeID;

const PortID sourcePort = PortID::sourceOut(nodeID(1), 1);
const PortID inputPort = PortID::outputIn(3);
const PortID outputPort = PortID::outputOut(2);
const PortID monitorPort = PortID::monitorIn(nodeID(2), 1);
const PortID passThruPort = PortID::passThruOut(3);

TEST(PortCompatibility, holdsForTwoPairsInEitherOrder) {
  EXPECT_TRUE(arePortsCompatible(sourcePort, inputPort));
  EXPECT_TRUE(arePortsCompatible(inputPort, sourcePort));
  EXPECT_TRUE(arePortsCompatible(outputPort, monitorPort));
  EXPECT_TRUE(arePortsCompatible(monitorPort, outputPort));
}

TEST(PortCompatibility, holdsForNoOtherPair) {
  const std::vector<PortID> ports{sourcePort, inputPort, outputPort, monitorPort, passThruPort};
  int compatible = 0;
  for (const PortID& a : ports) {
    EXPECT_FALSE(arePortsCompatible(a, a));
    EXPECT_FALSE(arePortsCompatible(a, passThruPort));
    EXPECT_FALSE(arePortsCompatible(passThruPort, a));
    for (const PortID& b : ports) compatible += arePortsCompatible(a, b) ? 1 : 0;
  }
  EXPECT_EQ(compatible, 4);
  EXPECT_FALSE(arePortsCompatible(sourcePort, monitorPort));
  EXPECT_FALSE(arePortsCompatible(inputPort, outputPort));
  EXPECT_FALSE(arePortsCompatible(inputPort, PortID::outputIn(0)));
}

TEST(DropSearch, reachesLessThan30Points) {
  const PortPositions positions{{inputPort, {100, 100}}};
  EXPECT_EQ(dropTarget(positions, sourcePort, {130, 100}), std::nullopt);
  EXPECT_EQ(dropTarget(positions, sourcePort, {129.9, 100}), inputPort);
  // 18-24-30.
  EXPECT_EQ(dropTarget(positions, sourcePort, {118, 124}), std::nullopt);
  EXPECT_EQ(dropTarget(positions, sourcePort, {118, 123}), inputPort);
}

TEST(DropSearch, findsTheNearestCompatiblePort) {
  const PortPositions positions{{PortID::outputIn(0), {100, 100}},
                                {PortID::outputIn(1), {100, 110}},
                                {outputPort, {100, 106}},
                                {passThruPort, {100, 106}},
                                {sourcePort, {100, 106}}};
  EXPECT_EQ(dropTarget(positions, sourcePort, {100, 106}), PortID::outputIn(1));
  EXPECT_EQ(dropTarget(positions, sourcePort, {100, 104}), PortID::outputIn(0));
  EXPECT_EQ(dropTarget(positions, PortID::outputIn(0), {100, 106}), sourcePort);
}

TEST(DropSearch, findsNothingForAPassThruPortOrWithoutPositions) {
  const PortPositions positions{{inputPort, {0, 0}}, {sourcePort, {0, 0}}};
  EXPECT_EQ(dropTarget(positions, passThruPort, {0, 0}), std::nullopt);
  EXPECT_EQ(dropTarget({}, sourcePort, {0, 0}), std::nullopt);
  EXPECT_FALSE(takesWires(passThruPort));
  EXPECT_TRUE(takesWires(monitorPort));
}

}  // namespace
}  // namespace brindlemux
