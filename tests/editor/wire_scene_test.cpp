#include "editor/wire_scene.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/editor_samples.h"
#include "editor/wire_activity.h"

namespace brindlemux {
namespace {

using test::nodeID;
using Colour = WireStroke::Colour;

/// A source of two channels wired straight to two outputs, and these to a monitor.
struct Scene {
  DeviceGraph graph;
  PortPositions positions;
  WireSelection selected;
  MeterSnapshot meters;
  bool hasMeters = true;

  Scene() {
    graph.sources = {test::source(1)};
    graph.monitors = {test::monitor(2)};
    graph.wires = {{nodeID(1), 0, 0}, {nodeID(1), 1, 1}};
    graph.monitorWires = {{0, nodeID(2), 0}, {1, nodeID(2), 1}};
    for (int channel = 0; channel < 2; ++channel) {
      positions[PortID::passThruOut(channel)] = {10, 10.0 + channel};
      positions[PortID::sourceOut(nodeID(1), channel)] = {10, 20.0 + channel};
      positions[PortID::outputIn(channel)] = {300, 10.0 + channel};
      positions[PortID::outputOut(channel)] = {500, 10.0 + channel};
      positions[PortID::monitorIn(nodeID(2), channel)] = {800, 10.0 + channel};
    }
    meters.sourcePeaks[nodeID(1)] = {0, 0};
    meters.outputPeaks = {0, 0};
    meters.passThruPeaks = {0, 0};
  }
  DrawnWires drawn() const {
    return DrawnWires::of({.graph = graph,
                           .deviceChannels = 2,
                           .positions = positions,
                           .selectedWire = selected,
                           .dragLine = std::nullopt,
                           .meters = hasMeters ? &meters : nullptr});
  }
  bool isActive() const { return hasActivity(graph, 2, hasMeters ? &meters : nullptr); }
};

TEST(DrawnWires, comeInDrawingOrder) {
  const DrawnWires wires = Scene().drawn();
  ASSERT_EQ(wires.toOutput.size(), 4U);
  EXPECT_EQ(wires.toOutput[0].ends, (WireEnds{{10, 10}, {300, 10}}));
  EXPECT_EQ(wires.toOutput[1].ends, (WireEnds{{10, 11}, {300, 11}}));
  EXPECT_EQ(wires.toOutput[2].ends, (WireEnds{{10, 20}, {300, 10}}));
  EXPECT_EQ(wires.toOutput[3].ends, (WireEnds{{10, 21}, {300, 11}}));
  ASSERT_EQ(wires.fromOutput.size(), 2U);
  EXPECT_EQ(wires.fromOutput[1].ends, (WireEnds{{500, 11}, {800, 11}}));
  EXPECT_TRUE(wires.drag.empty());
}

TEST(DrawnWires, haveTheStrokesOfTheirKind) {
  const DrawnWires wires = Scene().drawn();
  EXPECT_EQ(wires.toOutput[0].stroke, (WireStroke{Colour::secondary, 0.5, 1.5, 5, 4}));
  EXPECT_EQ(wires.toOutput[2].stroke, (WireStroke{Colour::accent, 1, 2, 0, 0}));
  EXPECT_EQ(wires.fromOutput[0].stroke, (WireStroke{Colour::accent, 0.85, 2, 0, 0}));
}

TEST(DrawnWires, showTheSelection) {
  Scene scene;
  scene.selected = WireSelection::source({nodeID(1), 1, 1});
  EXPECT_EQ(scene.drawn().toOutput[3].stroke, (WireStroke{Colour::selection, 1, 3.5, 0, 0}));
  EXPECT_EQ(scene.drawn().toOutput[2].stroke.colour, Colour::accent);
  scene.selected = WireSelection::monitor({0, nodeID(2), 0});
  EXPECT_EQ(scene.drawn().fromOutput[0].stroke, (WireStroke{Colour::selection, 1, 3.5, 0, 0}));
}

TEST(DrawnWires, ofADisabledSourceAreFaintAndNeverFlow) {
  Scene scene;
  scene.graph.sources[0].enabled = false;
  scene.meters.sourcePeaks[nodeID(1)] = {1, 1};
  EXPECT_EQ(scene.drawn().toOutput[2].stroke, (WireStroke{Colour::accent, 0.22, 2, 0, 0}));
  EXPECT_EQ(scene.drawn().toOutput[2].flow, std::nullopt);
  EXPECT_FALSE(scene.isActive());
  // Selected, it is as bright as any.
  scene.selected = WireSelection::source({nodeID(1), 0, 0});
  EXPECT_EQ(scene.drawn().toOutput[2].stroke.opacity, 1);
}

TEST(DrawnWires, flowAboveTheThresholdOnly) {
  Scene scene;
  scene.meters.sourcePeaks[nodeID(1)] = {0.015F, 0.0151F};
  scene.meters.outputPeaks = {0.0151F, 0.015F};
  scene.meters.passThruPeaks = {0.015F, 0.5F};
  const DrawnWires wires = scene.drawn();
  EXPECT_EQ(wires.toOutput[0].flow, std::nullopt);
  EXPECT_EQ(wires.toOutput[1].flow, FlowOverlay::of(0.5F));
  EXPECT_EQ(wires.toOutput[2].flow, std::nullopt);
  EXPECT_EQ(wires.toOutput[3].flow, FlowOverlay::of(0.0151F));
  EXPECT_EQ(wires.fromOutput[0].flow, FlowOverlay::of(0.0151F));
  EXPECT_EQ(wires.fromOutput[1].flow, std::nullopt);
}

TEST(DrawnWires, areDrawnWithoutMetersAndBeyondThem) {
  Scene scene;
  scene.hasMeters = false;
  EXPECT_EQ(scene.drawn().toOutput.size(), 4U);
  scene.hasMeters = true;
  scene.meters = {};
  EXPECT_EQ(scene.drawn().toOutput[2].flow, std::nullopt);
  EXPECT_FALSE(scene.isActive());
}

TEST(DrawnWires, skipPortsWithoutAPlace) {
  Scene scene;
  scene.positions.erase(PortID::outputIn(1));
  scene.positions.erase(PortID::monitorIn(nodeID(2), 0));
  EXPECT_EQ(scene.drawn().toOutput.size(), 2U);
  EXPECT_EQ(scene.drawn().fromOutput.size(), 1U);
}

TEST(DrawnWires, endWithTheLineOfTheDrag) {
  const Scene scene;
  const DrawnWires wires = DrawnWires::of({.graph = scene.graph,
                                           .positions = scene.positions,
                                           .selectedWire = scene.selected,
                                           .dragLine = WireEnds{{10, 20}, {50, 60}}});
  ASSERT_EQ(wires.drag.size(), 1U);
  EXPECT_EQ(wires.drag[0].stroke, (WireStroke{Colour::accent, 0.7, 2, 6, 4}));
  EXPECT_EQ(wires.drag[0].flow, std::nullopt);
}

TEST(Activity, needsOneAudibleWireOfAnyKind) {
  Scene scene;
  EXPECT_FALSE(scene.isActive());
  scene.meters.passThruPeaks = {0, 0.016F};
  EXPECT_TRUE(scene.isActive());
  scene.meters.passThruPeaks = {0, 0, 1};  // a third channel, which the device does not have
  EXPECT_FALSE(scene.isActive());
  scene.meters.outputPeaks = {0, 0.016F};
  EXPECT_TRUE(scene.isActive());
  scene.graph.monitorWires.clear();
  EXPECT_FALSE(scene.isActive());
  scene.meters.sourcePeaks[nodeID(1)] = {0, 0.016F};
  EXPECT_TRUE(scene.isActive());
  scene.graph.wires.pop_back();
  EXPECT_FALSE(scene.isActive());
}

TEST(Activity, isNoneWithoutMeters) {
  Scene scene;
  scene.meters.outputPeaks = {1, 1};
  EXPECT_TRUE(scene.isActive());
  scene.hasMeters = false;
  EXPECT_FALSE(scene.isActive());
}

TEST(AudibleSources, areThoseSwitchedOn) {
  DeviceGraph graph;
  graph.sources = {test::source(1), test::source(2, false)};
  EXPECT_THAT(audibleSourceIDs(graph), testing::UnorderedElementsAre(nodeID(1)));
}

TEST(FlowOverlay, growsWithThePeakUntil04) {
  const FlowOverlay half = FlowOverlay::of(0.2F);
  EXPECT_NEAR(half.level, 0.5, 1e-6);
  EXPECT_NEAR(half.glowOpacity(), 0.5 * 0.3 + 0.18, 1e-6);
  EXPECT_NEAR(half.dashOpacity(), 0.5 * 0.5 + 0.5, 1e-6);
  EXPECT_NEAR(half.dashWidth(), 0.5 * 1.2 + 1.6, 1e-6);
  EXPECT_EQ(FlowOverlay::of(0.5F).level, 1);
  EXPECT_EQ(FlowOverlay::of(7).level, 1);
}

TEST(AnimationPhase, travelsBackwards90PointsASecondAndStartsOverAfter1000) {
  using std::chrono::duration;
  EXPECT_DOUBLE_EQ(animationPhase(duration<double>(0)), 0);
  EXPECT_DOUBLE_EQ(animationPhase(duration<double>(1.5)), -135);
  EXPECT_DOUBLE_EQ(animationPhase(duration<double>(999)), -89910);
  EXPECT_DOUBLE_EQ(animationPhase(duration<double>(1001.5)), -135);
}

}  // namespace
}  // namespace brindlemux
