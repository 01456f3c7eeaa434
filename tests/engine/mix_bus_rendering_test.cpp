#include <gtest/gtest.h>
#include <vector>

#include "engine/mix_bus.h"
#include "engine/mix_bus_graphs.h"
#include "engine/soft_limiter.h"

namespace brindlemux {
namespace {

using test::CursorMap;
using test::first;
using test::headphones;
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

// Rendering the virtual device

TEST(MixBus, sourcesAreSummedThenLimited) {
  DeviceGraph graph("device");
  graph.sources = {source(first, 0.5F), source(second, 0.25F)};
  graph.wires = {wire(first, 0, 0), wire(second, 0, 0), wire(second, 1, 1)};
  const auto one = makeRing();
  const auto two = makeRing();
  MixBus bus;
  bus.rebuildPlans(graph, {{first, one}, {second, two}}, 2);
  play(*one, {1.5F, 0.0F}, 16);
  play(*two, {1.0F, -2.0F}, 16);
  PlanarBuffers buffers(2, 16);
  renderVirtual(bus, buffers, 16);
  // 0.5 x 1.5 + 0.25 x 1 = 1.0, which the limiter bends to 0.95; 0.25 x -2 = -0.5 stays.
  float bent = 1.0F;
  softLimit({&bent, 1});
  EXPECT_NEAR(bent, 0.95, 1e-6);
  EXPECT_EQ(buffers[0], std::vector<float>(16, bent));
  EXPECT_EQ(buffers[1], std::vector<float>(16, -0.5F));
  EXPECT_EQ(bus.takeOutputPeaks(), (std::vector{bent, 0.5F}));
  EXPECT_EQ(bus.takeOutputPeaks(), (std::vector{0.0F, 0.0F}));
}

TEST(MixBus, theNextRenderGoesOnWhereTheLastStopped) {
  DeviceGraph graph("device");
  graph.sources = {source(first)};
  graph.wires = {wire(first, 0, 0)};
  const auto ring = makeRing(1);
  MixBus bus;
  bus.rebuildPlans(graph, {{first, ring}}, 1);
  PlanarBuffers block(1, 4);
  block[0] = {0.1F, 0.2F, 0.3F, 0.4F};
  ring->write(block.captured());
  PlanarBuffers buffers(1, 3);
  renderVirtual(bus, buffers, 3);
  EXPECT_EQ(buffers[0], (std::vector{0.1F, 0.2F, 0.3F}));
  PlanarBuffers later(1, 3);
  renderVirtual(bus, later, 3);
  EXPECT_EQ(later[0], (std::vector{0.4F, 0.0F, 0.0F}));
}

TEST(MixBus, onlyTheFramesAskedForAreTouched) {
  DeviceGraph graph("device");
  MixBus bus;
  bus.rebuildPlans(graph, {}, 1);
  PlanarBuffers buffers(1, 8);
  buffers[0].assign(8, 3.0F);
  renderVirtual(bus, buffers, 4);
  float bent = 3.0F;
  softLimit({&bent, 1});
  EXPECT_EQ(buffers[0], (std::vector{bent, bent, bent, bent, 3.0F, 3.0F, 3.0F, 3.0F}));
  renderVirtual(bus, buffers, 0);
  renderVirtual(bus, buffers, -4);
  EXPECT_EQ(buffers[0][4], 3.0F);
}

TEST(MixBus, outputPeaksHoldTheLargestOfSeveralRenders) {
  MixBus bus;
  bus.rebuildPlans(DeviceGraph("device"), {}, 1);
  PlanarBuffers buffers(1, 2);
  for (const float sample : {0.25F, -0.5F, 0.125F}) {
    buffers[0] = {sample, 0.0F};
    renderVirtual(bus, buffers, 2);
  }
  EXPECT_EQ(bus.takeOutputPeaks(), std::vector{0.5F});
}

TEST(MixBus, outputPeaksFollowTheChannelCount) {
  MixBus bus;
  bus.rebuildPlans(DeviceGraph("device"), {}, 2);
  PlanarBuffers three(3, 1);
  three[0] = {0.25F};
  three[1] = {0.5F};
  three[2] = {0.75F};
  renderVirtual(bus, three, 1);
  // The same count keeps what was gathered.
  bus.rebuildPlans(DeviceGraph("device"), {}, 2);
  EXPECT_EQ(bus.takeOutputPeaks(), (std::vector{0.25F, 0.5F}));

  renderVirtual(bus, three, 1);
  bus.rebuildPlans(DeviceGraph("device"), {}, 4);
  EXPECT_EQ(bus.takeOutputPeaks(), std::vector<float>(4, 0.0F));
  renderVirtual(bus, three, 1);
  EXPECT_EQ(bus.takeOutputPeaks(), (std::vector{0.25F, 0.5F, 0.75F, 0.0F}));

  bus.rebuildPlans(DeviceGraph("device"), {}, 0);
  renderVirtual(bus, three, 1);
  EXPECT_TRUE(bus.takeOutputPeaks().empty());
}

// Rendering monitors

TEST(MixBus, aMonitorHearsTheLoopBackUnlimited) {
  DeviceGraph graph("device");
  graph.monitors = {monitor(speakers, 2.0F), monitor(headphones, 0.5F)};
  graph.monitorWires = {monitorWire(0, speakers, 1), monitorWire(1, headphones, 0)};
  const auto input = makeRing();
  MixBus bus;
  bus.setMonitorInputRing(input);
  bus.rebuildPlans(graph, {}, 2);
  play(*input, {3.0F, 1.0F}, 16);
  PlanarBuffers loud(2, 16);
  renderMonitor(bus, speakers, loud, 16);
  EXPECT_EQ(loud[0], std::vector<float>(16, 0.0F));
  EXPECT_EQ(loud[1], std::vector<float>(16, 6.0F));
  PlanarBuffers quiet(1, 16);
  renderMonitor(bus, headphones, quiet, 16);
  EXPECT_EQ(quiet[0], std::vector<float>(16, 0.5F));
  EXPECT_EQ(bus.monitorCursors(), (CursorMap{{speakers, 16}, {headphones, 16}}));
  EXPECT_EQ(bus.takeOutputPeaks(), (std::vector{0.0F, 0.0F})) << "monitors are not metered";
}

TEST(MixBus, withoutAnInputRingAMonitorStaysSilent) {
  DeviceGraph graph("device");
  graph.monitors = {monitor(speakers)};
  graph.monitorWires = {monitorWire(0, speakers, 0)};
  MixBus bus;
  bus.rebuildPlans(graph, {}, 2);
  PlanarBuffers buffers(2, 4);
  buffers[0].assign(4, 0.25F);
  renderMonitor(bus, speakers, buffers, 4);
  EXPECT_EQ(buffers[0], std::vector<float>(4, 0.25F));
  EXPECT_EQ(bus.monitorCursors(), (CursorMap{{speakers, -1}}));

  bus.setMonitorInputRing(makeRing());
  renderMonitor(bus, speakers, buffers, 4);
  EXPECT_EQ(bus.monitorCursors(), (CursorMap{{speakers, 0}}));
  bus.dropMonitorInputRing();
  renderMonitor(bus, speakers, buffers, 4);
  EXPECT_EQ(bus.monitorCursors(), (CursorMap{{speakers, 0}}));
  EXPECT_EQ(buffers[0], std::vector<float>(4, 0.25F));
}

TEST(MixBus, aMonitorThatIsInNoPlanStaysSilent) {
  const auto input = makeRing();
  MixBus bus;
  bus.setMonitorInputRing(input);
  bus.rebuildPlans(DeviceGraph("device"), {}, 2);
  play(*input, {0.5F, 0.5F}, 16);
  PlanarBuffers buffers(2, 16);
  renderMonitor(bus, speakers, buffers, 16);
  EXPECT_EQ(buffers[0], std::vector<float>(16, 0.0F));
}

}  // namespace
}  // namespace brindlemux
