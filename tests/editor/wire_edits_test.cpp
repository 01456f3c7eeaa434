#include "editor/wire_edits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/drop_search.h"
#include "editor/editor_samples.h"

namespace brindlemux {
namespace {

using test::nodeID;
using testing::ElementsAre;
using testing::IsEmpty;

const PortID sourcePort = PortID::sourceOut(nodeID(1), 1);
const PortID inputPort = PortID::outputIn(3);
const PortID outputPort = PortID::outputOut(2);
const PortID monitorPort = PortID::monitorIn(nodeID(2), 1);
const PortID passThruPort = PortID::passThruOut(3);

const SourceWire sourceWire{nodeID(1), 1, 3};
const MonitorWire monitorWire{2, nodeID(2), 1};

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

TEST(Connect, makesTheSameWireFromBothDirections) {
  DeviceGraph forward;
  connect(forward, sourcePort, inputPort);
  connect(forward, outputPort, monitorPort);
  DeviceGraph backward;
  connect(backward, inputPort, sourcePort);
  connect(backward, monitorPort, outputPort);
  EXPECT_THAT(forward.wires, ElementsAre(sourceWire));
  EXPECT_THAT(forward.monitorWires, ElementsAre(monitorWire));
  EXPECT_EQ(backward.wires, forward.wires);
  EXPECT_EQ(backward.monitorWires, forward.monitorWires);
}

TEST(Connect, appendsAndReplacesNothingOnTheSamePort) {
  DeviceGraph graph;
  graph.wires = {{nodeID(1), 1, 0}, {nodeID(9), 0, 3}};
  connect(graph, sourcePort, inputPort);
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeID(1), 1, 0}, SourceWire{nodeID(9), 0, 3}, sourceWire));
}

TEST(Connect, removesAnExistingWireAndAllItsDuplicates) {
  DeviceGraph graph;
  graph.wires = {sourceWire, {nodeID(1), 0, 3}, sourceWire};
  graph.monitorWires = {monitorWire, monitorWire, {2, nodeID(2), 0}};
  connect(graph, inputPort, sourcePort);
  connect(graph, outputPort, monitorPort);
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeID(1), 0, 3}));
  EXPECT_THAT(graph.monitorWires, ElementsAre(MonitorWire{2, nodeID(2), 0}));
}

TEST(Connect, leavesTheGraphForAnyOtherPair) {
  DeviceGraph graph;
  connect(graph, sourcePort, monitorPort);
  connect(graph, inputPort, PortID::outputIn(0));
  connect(graph, inputPort, outputPort);
  connect(graph, passThruPort, inputPort);
  EXPECT_THAT(graph.wires, IsEmpty());
  EXPECT_THAT(graph.monitorWires, IsEmpty());
}

TEST(DeleteWire, removesEveryEqualOne) {
  DeviceGraph graph;
  graph.wires = {sourceWire, {nodeID(1), 0, 3}, sourceWire};
  graph.monitorWires = {monitorWire};
  deleteWire(graph, WireSelection::source(sourceWire));
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeID(1), 0, 3}));
  EXPECT_THAT(graph.monitorWires, ElementsAre(monitorWire));
  deleteWire(graph, WireSelection::monitor(monitorWire));
  EXPECT_THAT(graph.monitorWires, IsEmpty());
}

TEST(DeleteWire, ofAWireThatIsGoneOrOfNoneRemovesNothing) {
  DeviceGraph graph;
  graph.wires = {sourceWire};
  deleteWire(graph, WireSelection::source({nodeID(7), 0, 0}));
  deleteWire(graph, WireSelection());
  EXPECT_THAT(graph.wires, ElementsAre(sourceWire));
}

TEST(WireSelection, equalWhenTheCaseAndTheWireAre) {
  EXPECT_EQ(WireSelection::source(sourceWire), WireSelection::source(sourceWire));
  EXPECT_NE(WireSelection::source(sourceWire), WireSelection::source({nodeID(1), 1, 2}));
  EXPECT_NE(WireSelection::source(sourceWire), WireSelection::monitor(monitorWire));
  EXPECT_NE(WireSelection::source(sourceWire), WireSelection());
  EXPECT_FALSE(WireSelection().exists());
  EXPECT_TRUE(WireSelection::monitor(monitorWire).exists());
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
