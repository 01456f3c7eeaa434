#include "editor/wire_edits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

}  // namespace
}  // namespace brindlemux
