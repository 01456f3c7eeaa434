#include "engine/mix_bus.h"

#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <unordered_map>
#include <vector>

#include "engine/mix_bus_graphs.h"

namespace brindlemux {
namespace {

using test::CursorMap;
using test::first;
using test::headphones;
using test::identifier;
using test::makeRing;
using test::monitor;
using test::monitorWire;
using test::PlanarBuffers;
using test::play;
using test::renderMonitor;
using test::renderVirtual;
using test::second;
using test::source;
using test::speakers;
using test::wire;

// Compiling sources

TEST(MixBus, startsEmpty) {
  MixBus bus;
  EXPECT_TRUE(bus.virtualPlan().empty());
  EXPECT_TRUE(bus.monitorPlans().empty());
  EXPECT_TRUE(bus.cursors().empty());
  EXPECT_TRUE(bus.monitorCursors().empty());
  EXPECT_FALSE(bus.inputDidReset());
  EXPECT_TRUE(bus.takeOutputPeaks().empty());
}

TEST(MixBus, everyGainIsFoldedIntoTheTap) {
  DeviceGraph graph("device");
  graph.sources = {source(first, 2.0F, {0.5F})};
  graph.wires = {wire(first, 0, 0), wire(first, 1, 1)};
  graph.masterGain = 0.8F;
  graph.outputGains = {1.0F};
  const auto ring = makeRing();
  MixBus bus;
  bus.rebuildPlans(graph, {{first, ring}}, 2);
  const std::vector<RenderEntry> plan = bus.virtualPlan();
  ASSERT_EQ(plan.size(), 1U);
  EXPECT_EQ(plan[0].ring, ring);
  EXPECT_EQ(plan[0].cursorKey, first);
  // The channel gain replaces the source's; beyond the list the source's own applies, and unity for the output.
  EXPECT_EQ(plan[0].taps, (std::vector{Tap{.src = 0, .out = 0, .gain = 0.5F * 0.8F * 1.0F},
                                       Tap{.src = 1, .out = 1, .gain = 2.0F * 0.8F * 1.0F}}));
}

TEST(MixBus, gainsAreMultipliedInOrder) {
  // In 32 bits 1e30 x 1e30 is infinite; in any other order the product would be finite.
  DeviceGraph graph("device");
  graph.sources = {source(first, 1e30F)};
  graph.wires = {wire(first, 0, 0)};
  graph.masterGain = 1e30F;
  graph.outputGains = {1e-30F};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}}, 2);
  EXPECT_EQ(bus.virtualPlan().at(0).taps.at(0).gain, std::numeric_limits<float>::infinity());
}

TEST(MixBus, outputGainsFollowTheOutputChannel) {
  DeviceGraph graph("device");
  graph.sources = {source(first)};
  graph.wires = {wire(first, 0, 2), wire(first, 0, 1), wire(first, 1, 3)};
  graph.outputGains = {9.0F, 0.5F, 0.25F};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}}, 4);
  EXPECT_EQ(bus.virtualPlan().at(0).taps,
            (std::vector{Tap{.src = 0, .out = 1, .gain = 0.5F}, Tap{.src = 0, .out = 2, .gain = 0.25F},
                         Tap{.src = 1, .out = 3, .gain = 1.0F}}));
}

TEST(MixBus, negativeChannelsHaveNoGainsOfTheirOwnAndAreKept) {
  DeviceGraph graph("device");
  graph.sources = {source(first, 0.5F, {9.0F})};
  graph.wires = {wire(first, -1, 0), wire(first, 0, -1)};
  graph.outputGains = {0.25F};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}}, 2);
  EXPECT_EQ(bus.virtualPlan().at(0).taps, (std::vector{Tap{.src = 0, .out = -1, .gain = 9.0F * 1.0F},
                                                       Tap{.src = -1, .out = 0, .gain = 0.5F * 0.25F}}));
  // They do no harm.
  PlanarBuffers buffers(2, 8);
  renderVirtual(bus, buffers, 8);
}

TEST(MixBus, tapsOfAnOutputAreTogetherInTheOrderOfTheirWires) {
  DeviceGraph graph("device");
  graph.sources = {source(first, 1.0F, {0.0F, 1.0F, 2.0F, 3.0F})};
  graph.wires = {wire(first, 3, 1), wire(first, 0, 0), wire(first, 2, 1), wire(first, 1, 0), wire(first, 0, 1)};
  MonitorNodeConfig monitor;
  monitor.id = second;
  graph.monitors = {monitor};
  graph.monitorWires = {{.outputChannel = 1, .monitorID = second, .monitorChannel = 1},
                        {.outputChannel = 1, .monitorID = second, .monitorChannel = 0},
                        {.outputChannel = 0, .monitorID = second, .monitorChannel = 1}};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}}, 2);
  EXPECT_EQ(bus.virtualPlan().at(0).taps,
            (std::vector{Tap{.src = 0, .out = 0, .gain = 0.0F}, Tap{.src = 1, .out = 0, .gain = 1.0F},
                         Tap{.src = 3, .out = 1, .gain = 3.0F}, Tap{.src = 2, .out = 1, .gain = 2.0F},
                         Tap{.src = 0, .out = 1, .gain = 0.0F}}));
  EXPECT_EQ(bus.monitorPlans().at(second),
            (std::vector{Tap{.src = 1, .out = 0}, Tap{.src = 1, .out = 1}, Tap{.src = 0, .out = 1}}));
}

TEST(MixBus, sourcesThatCannotBeHeardHaveNoEntry) {
  const UUID disabled = identifier(3);
  const UUID notRunning = identifier(4);
  const UUID beyond = identifier(5);
  const UUID unwired = identifier(6);
  const UUID ringless = identifier(7);
  DeviceGraph graph("device");
  graph.sources = {source(disabled), source(notRunning), source(beyond),
                   source(unwired),  source(ringless),   source(first)};
  graph.sources[0].enabled = false;
  graph.wires = {wire(disabled, 0, 0), wire(notRunning, 0, 0), wire(beyond, 0, 2), wire(beyond, 1, 99),
                 wire(ringless, 0, 0), wire(first, 0, 0),      wire(first, 1, 2)};
  const auto ring = makeRing();
  MixBus bus;
  bus.rebuildPlans(graph, {{disabled, ring}, {beyond, ring}, {unwired, ring}, {ringless, nullptr}, {first, ring}}, 2);
  ASSERT_EQ(bus.virtualPlan().size(), 1U);
  EXPECT_EQ(bus.virtualPlan()[0].cursorKey, first);
  EXPECT_EQ(bus.virtualPlan()[0].taps, std::vector{Tap{}});
  EXPECT_EQ(bus.cursors(), (CursorMap{{first, -1}}));
}

TEST(MixBus, entriesAreInTheOrderOfTheSources) {
  DeviceGraph graph("device");
  graph.sources = {source(second), source(first)};
  graph.wires = {wire(first, 0, 0), wire(second, 0, 0)};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}, {second, makeRing()}}, 2);
  ASSERT_EQ(bus.virtualPlan().size(), 2U);
  EXPECT_EQ(bus.virtualPlan()[0].cursorKey, second);
  EXPECT_EQ(bus.virtualPlan()[1].cursorKey, first);
}

TEST(MixBus, aWireToAMissingSourceIsIgnored) {
  DeviceGraph graph("device");
  graph.wires = {wire(first, 0, 0)};
  graph.monitorWires = {monitorWire(0, speakers, 0)};
  MixBus bus;
  bus.rebuildPlans(graph, {{first, makeRing()}}, 2);
  EXPECT_TRUE(bus.virtualPlan().empty());
  EXPECT_TRUE(bus.monitorPlans().empty());
}

TEST(MixBusDeathTest, aNegativeChannelCountIsFatal) {
  MixBus bus;
  EXPECT_DEATH(bus.rebuildPlans(DeviceGraph("device"), {}, -1), "negative number of device channels");
}

// Compiling monitors

TEST(MixBus, monitorTapsCarryTheMonitorsGainAlone) {
  DeviceGraph graph("device");
  graph.masterGain = 7.0F;
  graph.outputGains = {7.0F, 7.0F};
  graph.monitors = {monitor(speakers, 0.5F), monitor(headphones, 0.25F, false)};
  graph.monitorWires = {monitorWire(1, speakers, 0), monitorWire(0, headphones, 5), monitorWire(0, speakers, 1),
                        monitorWire(2, speakers, 0), monitorWire(-1, speakers, -2)};
  MixBus bus;
  bus.rebuildPlans(graph, {}, 2);
  // Output 2 is beyond the device's two channels. A monitor that is switched off has its plan all the same.
  EXPECT_EQ(bus.monitorPlans(), (std::unordered_map<UUID, std::vector<Tap>>{
                                    {speakers,
                                     {Tap{.src = -1, .out = -2, .gain = 0.5F}, Tap{.src = 1, .out = 0, .gain = 0.5F},
                                      Tap{.src = 0, .out = 1, .gain = 0.5F}}},
                                    {headphones, {Tap{.src = 0, .out = 5, .gain = 0.25F}}}}));
}

TEST(MixBus, aMonitorWithoutWiresHasAnEmptyPlanAndACursorThatMoves) {
  DeviceGraph graph("device");
  graph.monitors = {monitor(speakers)};
  const auto input = makeRing();
  MixBus bus;
  bus.setMonitorInputRing(input);
  bus.rebuildPlans(graph, {}, 2);
  EXPECT_EQ(bus.monitorPlans(), (std::unordered_map<UUID, std::vector<Tap>>{{speakers, {}}}));
  play(*input, {0.5F, 0.5F}, 64);
  PlanarBuffers buffers(2, 32);
  renderMonitor(bus, speakers, buffers, 32);
  EXPECT_EQ(buffers[0], std::vector<float>(32, 0.0F));
  // The ring holds 64 frames, fewer than the reset distance of 64 + 32: the reader begins at 0.
  EXPECT_EQ(bus.monitorCursors(), (CursorMap{{speakers, 32}}));
}

// Cursors across rebuilds

class MixBusCursors : public testing::Test {
 protected:
  MixBusCursors() {
    graph_.sources = {source(first)};
    graph_.wires = {wire(first, 0, 0), wire(second, 0, 0)};
    graph_.monitors = {monitor(speakers)};
    graph_.monitorWires = {monitorWire(0, speakers, 0)};
    bus_.setMonitorInputRing(input_);
    rebuild();
    play(*rings_.at(first), {0.5F, 0.5F}, 100);
    play(*rings_.at(second), {0.5F, 0.5F}, 100);
    play(*input_, {0.5F, 0.5F}, 100);
    renderVirtual(bus_, buffers_, 64);
    renderMonitor(bus_, speakers, buffers_, 64);
  }

  void rebuild() { bus_.rebuildPlans(graph_, rings_, 2); }

  DeviceGraph graph_{"device"};
  MixBus::Rings rings_ = {{first, makeRing()}, {second, makeRing()}};
  std::shared_ptr<SourceRing> input_ = makeRing();
  MixBus bus_;
  PlanarBuffers buffers_{2, 64};
};

TEST_F(MixBusCursors, aGainChangeKeepsThem) {
  ASSERT_EQ(bus_.cursors(), (CursorMap{{first, 64}}));
  ASSERT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, 64}}));
  graph_.sources[0].gain = 0.5F;
  graph_.monitors[0].gain = 0.5F;
  graph_.masterGain = 0.5F;
  rebuild();
  EXPECT_EQ(bus_.cursors(), (CursorMap{{first, 64}}));
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, 64}}));
}

TEST_F(MixBusCursors, aSourceThatEntersStartsAnewAndTheOthersStay) {
  graph_.sources.insert(graph_.sources.begin(), source(second));
  rebuild();
  EXPECT_EQ(bus_.cursors(), (CursorMap{{first, 64}, {second, -1}}));
}

TEST_F(MixBusCursors, aSourceThatLeavesAndComesBackStartsAnew) {
  graph_.sources[0].enabled = false;
  rebuild();
  EXPECT_TRUE(bus_.cursors().empty());
  graph_.sources[0].enabled = true;
  rebuild();
  EXPECT_EQ(bus_.cursors(), (CursorMap{{first, -1}}));
}

TEST_F(MixBusCursors, aMonitorThatEntersStartsAnewAndTheOthersStay) {
  graph_.monitors.push_back(monitor(headphones));
  rebuild();
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, 64}, {headphones, -1}}));
  graph_.monitors.erase(graph_.monitors.begin());
  rebuild();
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{headphones, -1}}));
}

TEST_F(MixBusCursors, aReplacedInputRingRepositionsEveryMonitorOnce) {
  EXPECT_FALSE(bus_.inputDidReset());
  bus_.setMonitorInputRing(makeRing());
  EXPECT_TRUE(bus_.inputDidReset());
  rebuild();
  EXPECT_FALSE(bus_.inputDidReset());
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, -1}}));
  EXPECT_EQ(bus_.cursors(), (CursorMap{{first, 64}}));
  renderMonitor(bus_, speakers, buffers_, 64);
  rebuild();
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, 0}}));
}

TEST_F(MixBusCursors, clearEmptiesEverythingAndForgetsThePeaks) {
  bus_.clear();
  EXPECT_TRUE(bus_.virtualPlan().empty());
  EXPECT_TRUE(bus_.monitorPlans().empty());
  EXPECT_TRUE(bus_.cursors().empty());
  EXPECT_TRUE(bus_.monitorCursors().empty());
  EXPECT_EQ(bus_.takeOutputPeaks(), (std::vector{0.0F, 0.0F}));
  PlanarBuffers buffers(2, 64);
  renderVirtual(bus_, buffers, 64);
  renderMonitor(bus_, speakers, buffers, 64);
  EXPECT_EQ(buffers[0], std::vector<float>(64, 0.0F));
  rebuild();
  EXPECT_EQ(bus_.cursors(), (CursorMap{{first, -1}}));
  EXPECT_EQ(bus_.monitorCursors(), (CursorMap{{speakers, -1}}));
}

// Lifetimes

TEST(MixBus, thePlanKeepsItsRingsAlive) {
  DeviceGraph graph("device");
  graph.sources = {source(first)};
  graph.wires = {wire(first, 0, 0)};
  auto ring = makeRing();
  const std::weak_ptr<SourceRing> watch = ring;
  MixBus bus;
  bus.rebuildPlans(graph, {{first, ring}}, 2);
  ring.reset();
  EXPECT_FALSE(watch.expired());
  bus.rebuildPlans(graph, {}, 2);
  EXPECT_TRUE(watch.expired());
}

TEST(MixBus, whatIsReplacedIsDestroyedOutsideTheLock) {
  DeviceGraph graph("device");
  graph.sources = {source(first)};
  graph.wires = {wire(first, 0, 0)};
  MixBus bus;
  int destroyed = 0;
  // Asking for the cursors takes the lock; to take it twice is fatal.
  const auto asking = [&] {
    return std::shared_ptr<SourceRing>(new SourceRing(2, 8), [&](SourceRing* ring) {
      static_cast<void>(bus.cursors());
      ++destroyed;
      delete ring;
    });
  };
  bus.rebuildPlans(graph, {{first, asking()}}, 2);
  bus.rebuildPlans(graph, {{first, asking()}}, 2);
  EXPECT_EQ(destroyed, 1);
  bus.clear();
  EXPECT_EQ(destroyed, 2);
  bus.setMonitorInputRing(asking());
  bus.setMonitorInputRing(asking());
  EXPECT_EQ(destroyed, 3);
  bus.dropMonitorInputRing();
  EXPECT_EQ(destroyed, 4);
}

}  // namespace
}  // namespace brindlemux
