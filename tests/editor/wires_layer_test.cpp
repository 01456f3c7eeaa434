#include "editor/wires_layer.h"

#include <QSignalSpy>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/canvas_window.h"

namespace brindlemux {
namespace {

using test::CanvasWindow;
using test::eventually;
using test::nodeID;

/// A source on output 0, and that on a monitor. The gaps are wide enough for a wire to be looked at.
struct WiredWindow : CanvasWindow {
  WiredWindow() : CanvasWindow(graphOf(), 2, {1200, 700}) {
    place(sourcePort);
    frames.emplace(window.get(), &QQuickWindow::frameSwapped);
    settle();
  }
  static DeviceGraph graphOf() {
    DeviceGraph graph;
    graph.sources = {test::source(1)};
    graph.monitors = {test::monitor(2)};
    graph.wires = {{nodeID(1), 0, 0}};
    return graph;
  }
  MeterSnapshot meters(float peak) const {
    MeterSnapshot snapshot;
    snapshot.sourcePeaks[nodeID(1)] = {peak, 0};
    snapshot.outputPeaks = {0, 0};
    snapshot.passThruPeaks = {0, 0};
    return snapshot;
  }
  /// How many frames are drawn from now on until the event loop has been idle for a while.
  qsizetype framesIn(std::chrono::milliseconds time) {
    frames->clear();
    eventually([] { return false; }, time);
    return frames->count();
  }
  void settle() {
    while (framesIn(std::chrono::milliseconds(100)) > 0) continue;
  }
  WiresLayer& layer() const { return dynamic_cast<WiresLayer&>(*item("canvas.wires")); }
  QColor colourAt(QPointF point) const {
    const QImage image = window->grabWindow();
    return image.pixelColor(inWindow(point));
  }
  QPointF middle() const { return (place(sourcePort) + place(PortID::outputIn(0))) / 2; }

  const PortID sourcePort = PortID::sourceOut(nodeID(1), 0);
  std::optional<QSignalSpy> frames;
};

TEST(WiresLayer, drawsTheWireBetweenItsPorts) {
  const WiredWindow open;
  // Most of the accent's blue, and nothing of it beside the wire.
  EXPECT_GT(open.colourAt(open.middle()).blue(), 150);
  EXPECT_LT(open.colourAt(open.middle() + QPointF(0, 12)).blue(), 60);
}

TEST(WiresLayer, drawsWiresThatComeLaterWhereTheirPortsAre) {
  WiredWindow open;
  open.window->setProperty("inset", 40);
  open.settle();
  open.edit([](DeviceGraph& graph) { graph.monitorWires = {{0, nodeID(2), 0}}; });
  open.settle();
  const QPointF from = open.place(PortID::outputOut(0));
  const QPointF to = open.place(PortID::monitorIn(nodeID(2), 0));
  // The ground there has 34; the wire may lie between two rows of points.
  EXPECT_GT(open.colourAt((from + to) / 2).blue(), 100);
}

TEST(WiresLayer, takesOnTheColourOfTheSelection) {
  const WiredWindow open;
  open.click(open.middle());
  EXPECT_GT(open.colourAt(open.middle()).red(), 220);
}

TEST(WiresLayer, liesBelowTheCards) {
  const WiredWindow open;
  // Inside the card, left of the port's outline, over where the wire of the port begins.
  const QPointF port = open.place(open.sourcePort);
  EXPECT_LT(open.colourAt(port + QPointF(12, 0)).blue(), 80);
}

TEST(WiresLayer, drawsOnWhileSoundFlows) {
  WiredWindow open;
  EXPECT_FALSE(open.layer().hasActivity());
  open.play(open.meters(0.3F));
  EXPECT_TRUE(open.layer().hasActivity());
  open.frames->clear();
  EXPECT_TRUE(eventually([&] { return open.frames->count() >= 10; }));
  open.play(open.meters(0));
  EXPECT_FALSE(open.layer().hasActivity());
}

TEST(WiresLayer, drawsNoMoreThan30FramesASecond) {
  WiredWindow open;
  open.play(open.meters(0.3F));
  // The meter's own movement ends after a tenth of a second.
  open.framesIn(std::chrono::milliseconds(300));
  EXPECT_LE(open.framesIn(std::chrono::milliseconds(1000)), 32);
}

TEST(WiresLayer, drawsNothingInSilence) {
  WiredWindow open;
  open.play(open.meters(0.3F));
  open.framesIn(std::chrono::milliseconds(100));
  // As loud as a wire may be without a flow.
  open.play(open.meters(0.015F));
  open.settle();
  for (int i = 0; i < 5; ++i) open.play(open.meters(0.015F));
  EXPECT_EQ(open.framesIn(std::chrono::milliseconds(250)), 0);
}

TEST(WiresLayer, disabledSourceDoesNotFlow) {
  WiredWindow open;
  open.edit([](DeviceGraph& graph) { graph.sources[0].enabled = false; });
  open.play(open.meters(1));
  EXPECT_FALSE(open.layer().hasActivity());
  EXPECT_TRUE(open.layer().audibleSourceIDs().empty());
}

TEST(WiresLayer, drawsNothingWhileHiddenAndGoesOnAfterwards) {
  WiredWindow open;
  open.play(open.meters(0.3F));
  open.window->hide();
  open.settle();
  EXPECT_EQ(open.framesIn(std::chrono::milliseconds(250)), 0);
  open.window->show();
  open.frames->clear();
  EXPECT_TRUE(eventually([&] { return open.frames->count() >= 10; }));
}

TEST(WiresLayer, followsACardThatGrowsInTheSameFrame) {
  WiredWindow open;
  const QPointF before = open.place(open.sourcePort);
  QImage first;
  // The first frame that has the card's new size in it.
  open.item("source." + nodeID(1).string())->setProperty("showGain", true);
  first = open.window->grabWindow();
  const QPointF after = *open.layout->position(open.sourcePort);
  ASSERT_GT(after.y(), before.y());
  const QPointF middle = (after + open.place(PortID::outputIn(0))) / 2;
  EXPECT_GT(first.pixelColor(open.inWindow(middle)).blue(), 150);
}

}  // namespace
}  // namespace brindlemux
