#include "editor/wire_hit.h"

#include <gtest/gtest.h>

#include "editor/editor_samples.h"

namespace brindlemux {
namespace {

using test::nodeID;

/// A level source wire at y = 100 and a level monitor wire at y = 200, both from x = 0 to 300.
struct TwoWires {
  SourceWire sourceWire{nodeID(1), 0, 0};
  MonitorWire monitorWire{0, nodeID(2), 0};
  DeviceGraph graph;
  PortPositions positions{{PortID::sourceOut(nodeID(1), 0), {0, 100}},
                          {PortID::outputIn(0), {300, 100}},
                          {PortID::outputOut(0), {0, 200}},
                          {PortID::monitorIn(nodeID(2), 0), {300, 200}}};
  TwoWires() {
    graph.wires = {sourceWire};
    graph.monitorWires = {monitorWire};
  }
  WireSelection at(QPointF point) const { return wireHit(graph, positions, point); }
};

TEST(WireHit, reachesLessThan9Points) {
  const TwoWires wires;
  EXPECT_EQ(wires.at({150, 109}), WireSelection());
  EXPECT_EQ(wires.at({150, 108.99}), WireSelection::source(wires.sourceWire));
  EXPECT_EQ(wires.at({150, 209}), WireSelection());
  EXPECT_EQ(wires.at({150, 208.99}), WireSelection::monitor(wires.monitorWire));
}

TEST(WireHit, takesTheNearest) {
  TwoWires wires;
  wires.graph.wires.push_back({nodeID(1), 1, 1});
  wires.positions[PortID::sourceOut(nodeID(1), 1)] = {0, 110};
  wires.positions[PortID::outputIn(1)] = {300, 110};
  EXPECT_EQ(wires.at({150, 104.9}), WireSelection::source(wires.graph.wires[0]));
  EXPECT_EQ(wires.at({150, 105.1}), WireSelection::source(wires.graph.wires[1]));
}

TEST(WireHit, takesTheEarlierOfEquallyNearOnes) {
  TwoWires wires;
  wires.graph.wires.push_back({nodeID(1), 1, 1});
  wires.positions[PortID::sourceOut(nodeID(1), 1)] = {0, 110};
  wires.positions[PortID::outputIn(1)] = {300, 110};
  EXPECT_EQ(wires.at({150, 105}), WireSelection::source(wires.graph.wires[0]));
  std::swap(wires.graph.wires[0], wires.graph.wires[1]);
  EXPECT_EQ(wires.at({150, 105}), WireSelection::source(wires.graph.wires[0]));
}

TEST(WireHit, takesSourcesBeforeMonitors) {
  TwoWires wires;
  wires.positions[PortID::outputOut(0)] = {0, 110};
  wires.positions[PortID::monitorIn(nodeID(2), 0)] = {300, 110};
  EXPECT_EQ(wires.at({150, 105}), WireSelection::source(wires.sourceWire));
  EXPECT_EQ(wires.at({150, 105.1}), WireSelection::monitor(wires.monitorWire));
}

TEST(WireHit, skipsWiresWhosePortsHaveNoPlace) {
  TwoWires wires;
  wires.positions.erase(PortID::outputIn(0));
  EXPECT_EQ(wires.at({150, 100}), WireSelection());
  wires.positions.clear();
  EXPECT_EQ(wires.at({150, 200}), WireSelection());
}

TEST(WireHit, doesNotHitPassThruWires) {
  TwoWires wires;
  wires.graph.wires.clear();
  wires.positions[PortID::passThruOut(0)] = {0, 100};
  EXPECT_EQ(wires.at({150, 100}), WireSelection());
}

}  // namespace
}  // namespace brindlemux
