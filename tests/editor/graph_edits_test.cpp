#include "editor/graph_edits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindlemux {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr UUID nodeA{{0xA}};
constexpr UUID nodeB{{0xB}};
constexpr UUID unknown{{0xC}};

DeviceGraph withSources() {
  DeviceGraph graph("Device");
  addSource(graph, nodeA, AppSource{"com.example.Player", "Player"}, 2);
  addSource(graph, nodeB, SystemAudioSource{}, 2);
  return graph;
}

DeviceGraph withMonitors() {
  DeviceGraph graph("Device");
  addMonitor(graph, nodeA, "Speakers", "Speakers", 2, 2);
  addMonitor(graph, nodeB, "Interface", "Interface", 2, 24);
  return graph;
}

TEST(GraphEdits, newSourceIsEnabledAtUnityAndWiredInPairs) {
  const DeviceGraph graph = withSources();
  ASSERT_THAT(graph.sources, SizeIs(2));
  EXPECT_EQ(graph.sources[0].id, nodeA);
  EXPECT_EQ(graph.sources[0].kind, SourceKindConfig(AppSource{"com.example.Player", "Player"}));
  EXPECT_EQ(graph.sources[0].gain, 1.0F);
  EXPECT_THAT(graph.sources[0].channelGains, IsEmpty());
  EXPECT_TRUE(graph.sources[0].enabled);
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeA, 0, 0}, SourceWire{nodeA, 1, 1}, SourceWire{nodeB, 0, 0},
                                       SourceWire{nodeB, 1, 1}));
}

TEST(GraphEdits, sourceOfADeviceWithOneChannelGetsOneWire) {
  DeviceGraph graph("Device");
  addSource(graph, nodeA, SystemAudioSource{}, 1);
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeA, 0, 0}));
}

TEST(GraphEdits, sourceOfADeviceThatIsGoneGetsNone) {
  DeviceGraph graph("Device");
  addSource(graph, nodeA, SystemAudioSource{}, 0);
  EXPECT_THAT(graph.wires, IsEmpty());
}

TEST(GraphEdits, newMonitorGetsAtMostTwoWires) {
  const DeviceGraph graph = withMonitors();
  EXPECT_EQ(graph.monitors[1].deviceUID, "Interface");
  EXPECT_EQ(graph.monitors[1].name, "Interface");
  EXPECT_EQ(graph.monitors[1].gain, 1.0F);
  EXPECT_TRUE(graph.monitors[1].enabled);
  EXPECT_THAT(graph.monitorWires, ElementsAre(MonitorWire{0, nodeA, 0}, MonitorWire{1, nodeA, 1},
                                              MonitorWire{0, nodeB, 0}, MonitorWire{1, nodeB, 1}));
}

TEST(GraphEdits, monoMonitorGetsOneWire) {
  DeviceGraph graph("Device");
  addMonitor(graph, nodeA, "Mono", "Mono", 16, 1);
  EXPECT_THAT(graph.monitorWires, ElementsAre(MonitorWire{0, nodeA, 0}));
}

TEST(GraphEdits, removedSourceTakesItsWiresAlong) {
  DeviceGraph graph = withSources();
  graph.wires.push_back({nodeA, 1, 0});
  removeSource(graph, nodeA);
  ASSERT_THAT(graph.sources, SizeIs(1));
  EXPECT_EQ(graph.sources[0].id, nodeB);
  EXPECT_THAT(graph.wires, ElementsAre(SourceWire{nodeB, 0, 0}, SourceWire{nodeB, 1, 1}));
}

TEST(GraphEdits, removedMonitorTakesItsWiresAlong) {
  DeviceGraph graph = withMonitors();
  removeMonitor(graph, nodeB);
  ASSERT_THAT(graph.monitors, SizeIs(1));
  EXPECT_EQ(graph.monitors[0].id, nodeA);
  EXPECT_THAT(graph.monitorWires, ElementsAre(MonitorWire{0, nodeA, 0}, MonitorWire{1, nodeA, 1}));
}

TEST(GraphEdits, removalTakesEveryNodeOfThatIdentifier) {
  DeviceGraph graph = withSources();
  graph.sources.push_back(graph.sources[0]);
  removeSource(graph, nodeA);
  EXPECT_THAT(graph.sources, SizeIs(1));
}

TEST(GraphEdits, gainsAndSwitchesReachTheirNodeAlone) {
  DeviceGraph graph = withSources();
  graph.monitors = withMonitors().monitors;
  setSourceGain(graph, nodeB, 0.5F);
  setSourceEnabled(graph, nodeB, false);
  setMonitorGain(graph, nodeA, 4.0F);
  setMonitorEnabled(graph, nodeA, false);
  EXPECT_EQ(graph.sources[0].gain, 1.0F);
  EXPECT_EQ(graph.sources[1].gain, 0.5F);
  EXPECT_TRUE(graph.sources[0].enabled);
  EXPECT_FALSE(graph.sources[1].enabled);
  EXPECT_EQ(graph.monitors[0].gain, 4.0F);
  EXPECT_EQ(graph.monitors[1].gain, 1.0F);
  EXPECT_FALSE(graph.monitors[0].enabled);
  EXPECT_TRUE(graph.monitors[1].enabled);
}

TEST(GraphEdits, nodeThatIsGoneIsLeftAlone) {
  DeviceGraph graph = withSources();
  graph.monitors = withMonitors().monitors;
  const DeviceGraph before = graph;
  setSourceGain(graph, unknown, 0.5F);
  setSourceEnabled(graph, unknown, false);
  setMonitorGain(graph, unknown, 0.5F);
  setMonitorEnabled(graph, unknown, false);
  removeSource(graph, unknown);
  removeMonitor(graph, unknown);
  EXPECT_EQ(graph.sources, before.sources);
  EXPECT_EQ(graph.monitors, before.monitors);
  EXPECT_EQ(graph.wires, before.wires);
}

}  // namespace
}  // namespace brindlemux
