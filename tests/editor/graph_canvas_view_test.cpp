#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/canvas_window.h"

namespace brindlemux {
namespace {

using test::CanvasWindow;
using test::eventually;
using test::nodeID;
using testing::ElementsAre;
using testing::IsEmpty;

/// A source and a monitor without wires.
DeviceGraph plain() {
  DeviceGraph graph;
  graph.sources = {test::source(1)};
  graph.monitors = {test::monitor(2)};
  return graph;
}

const PortID sourcePort = PortID::sourceOut(nodeID(1), 0);
const PortID monitorPort = PortID::monitorIn(nodeID(2), 1);
const SourceWire sourceWire{nodeID(1), 0, 1};
const MonitorWire monitorWire{0, nodeID(2), 1};

DeviceGraph wired() {
  DeviceGraph graph = plain();
  graph.wires = {sourceWire};
  graph.monitorWires = {monitorWire};
  return graph;
}

TEST(GraphCanvasView, laysOutThreeColumnsWithoutAnyNodes) {
  const CanvasWindow open({}, 4);
  for (int channel = 0; channel < 4; ++channel) {
    EXPECT_TRUE(open.layout->position(PortID::passThruOut(channel))) << channel;
    EXPECT_TRUE(open.layout->position(PortID::outputIn(channel))) << channel;
    EXPECT_TRUE(open.layout->position(PortID::outputOut(channel))) << channel;
  }
  EXPECT_EQ(open.layout->positions().size(), 12U);
  EXPECT_TRUE(open.shows("sources.empty"));
  EXPECT_TRUE(open.shows("monitors.empty"));
  EXPECT_EQ(open.item("passThru")->width(), 256);
  EXPECT_EQ(open.item("output")->width(), 232);
  EXPECT_EQ(open.item("passThru")->mapToItem(open.space, QPointF()).x(), 32);
  // 1000 less 856 and both paddings leaves 40 for each gap beyond its 56.
  EXPECT_EQ(open.item("output")->mapToItem(open.space, QPointF()).x(), 32 + 256 + 96);
}

TEST(GraphCanvasView, wiresByDraggingFromEitherSide) {
  const CanvasWindow open(plain());
  open.drag(open.place(sourcePort), open.place(PortID::outputIn(1)));
  EXPECT_THAT(open.graph().wires, ElementsAre(sourceWire));
  open.drag(open.place(monitorPort), open.place(PortID::outputOut(0)));
  EXPECT_THAT(open.graph().monitorWires, ElementsAre(monitorWire));
}

TEST(GraphCanvasView, wiresInTheOtherDirectionsTooAndTakesWiresAway) {
  const CanvasWindow open(plain());
  open.drag(open.place(PortID::outputIn(1)), open.place(sourcePort));
  open.drag(open.place(PortID::outputOut(0)), open.place(monitorPort));
  EXPECT_THAT(open.graph().wires, ElementsAre(sourceWire));
  EXPECT_THAT(open.graph().monitorWires, ElementsAre(monitorWire));
  open.drag(open.place(sourcePort), open.place(PortID::outputIn(1)));
  open.drag(open.place(PortID::outputOut(0)), open.place(monitorPort));
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_THAT(open.graph().monitorWires, IsEmpty());
}

TEST(GraphCanvasView, savesWhatWasWired) {
  CanvasWindow open(plain());
  open.drag(open.place(sourcePort), open.place(PortID::outputIn(1)));
  EXPECT_EQ(open.savedGraphs().at(open.uid).wires, open.graph().wires);
}

TEST(GraphCanvasView, snapsWithin30PointsOnly) {
  const CanvasWindow open(plain());
  // Whole pixels in the window: the ports are at half ones.
  const QPointF target = open.place(PortID::outputIn(0));
  open.drag(open.place(sourcePort), target - QPointF(31, 0));
  EXPECT_THAT(open.graph().wires, IsEmpty());
  open.drag(open.place(sourcePort), target - QPointF(29, 0));
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{nodeID(1), 0, 0}));
}

TEST(GraphCanvasView, ignoresDropsOnPortsThatDoNotFit) {
  const CanvasWindow open(plain());
  open.drag(open.place(sourcePort), open.place(monitorPort));
  open.drag(open.place(PortID::outputIn(0)), open.place(PortID::outputIn(1)));
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_THAT(open.graph().monitorWires, IsEmpty());
  EXPECT_FALSE(open.wireDrag().isActive());
}

TEST(GraphCanvasView, takesNoDragFromPassThru) {
  const CanvasWindow open(plain());
  const QPointF from = open.place(PortID::passThruOut(0));
  open.press(from);
  open.move(from + QPointF(40, 0));
  EXPECT_FALSE(open.wireDrag().isActive());
  open.release(open.place(PortID::outputIn(0)));
  EXPECT_THAT(open.graph().wires, IsEmpty());
}

TEST(GraphCanvasView, beginsADragAfterTwoPoints) {
  const CanvasWindow open(plain());
  const QPointF from = open.place(sourcePort);
  open.press(from);
  open.move(from + QPointF(1, 0));
  EXPECT_FALSE(open.wireDrag().isActive());
  open.move(from + QPointF(3, 0));
  EXPECT_TRUE(open.wireDrag().isActive());
  open.release(from);
  EXPECT_FALSE(open.wireDrag().isActive());
}

TEST(GraphCanvasView, showsWhereADropWouldConnect) {
  const CanvasWindow open(wired());
  open.press(open.place(sourcePort));
  open.move(open.place(sourcePort) + QPointF(20, 0));
  EXPECT_FALSE(open.shows("canvas.wireEnd"));
  open.move(open.place(PortID::outputIn(0)) + QPointF(4, 4));
  EXPECT_TRUE(open.shows("canvas.wireEnd"));
  EXPECT_EQ(open.wireDrag().targetPoint(), open.place(PortID::outputIn(0)));
  EXPECT_FALSE(open.wireDrag().disconnects());
  open.move(open.place(PortID::outputIn(1)));
  EXPECT_TRUE(open.wireDrag().disconnects());
  open.release({500, 690});
  EXPECT_FALSE(open.shows("canvas.wireEnd"));
}

TEST(GraphCanvasView, escapeGivesUpADrag) {
  const CanvasWindow open(plain());
  const QPointF target = open.place(PortID::outputIn(1));
  open.press(open.place(sourcePort));
  open.move(target - QPointF(40, 0));
  ASSERT_TRUE(open.wireDrag().isActive());
  open.key(Qt::Key_Escape);
  EXPECT_FALSE(open.wireDrag().isActive());
  // The pointer is still down: it moves on and lets go over the port.
  open.move(target);
  EXPECT_FALSE(open.wireDrag().isActive());
  open.release(target);
  EXPECT_THAT(open.graph().wires, IsEmpty());
  open.drag(open.place(sourcePort), target);
  EXPECT_THAT(open.graph().wires, ElementsAre(sourceWire));
}

TEST(GraphCanvasView, clickSelectsAWireAndClickBesideClears) {
  const CanvasWindow open(wired());
  const QPointF middle = (open.place(sourcePort) + open.place(PortID::outputIn(1))) / 2;
  open.click(middle);
  EXPECT_EQ(open.selected(), WireSelection::source(sourceWire));
  open.click((open.place(PortID::outputOut(0)) + open.place(monitorPort)) / 2);
  EXPECT_EQ(open.selected(), WireSelection::monitor(monitorWire));
  open.click({320, 690});
  EXPECT_EQ(open.selected(), WireSelection());
}

TEST(GraphCanvasView, doubleClickDeletesAWire) {
  const CanvasWindow open(wired());
  open.doubleClick((open.place(sourcePort) + open.place(PortID::outputIn(1))) / 2);
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_THAT(open.graph().monitorWires, ElementsAre(monitorWire));
  EXPECT_EQ(open.selected(), WireSelection());
}

TEST(GraphCanvasView, doubleClickOnNothingClearsTheSelection) {
  const CanvasWindow open(wired());
  open.click((open.place(sourcePort) + open.place(PortID::outputIn(1))) / 2);
  open.doubleClick({320, 690});
  EXPECT_EQ(open.selected(), WireSelection());
  EXPECT_THAT(open.graph().wires, ElementsAre(sourceWire));
}

TEST(GraphCanvasView, deleteKeyRemovesTheSelectedWire) {
  const CanvasWindow open(wired());
  open.key(Qt::Key_Delete);
  EXPECT_THAT(open.graph().wires, ElementsAre(sourceWire));
  open.click((open.place(sourcePort) + open.place(PortID::outputIn(1))) / 2);
  open.key(Qt::Key_Delete);
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_EQ(open.selected(), WireSelection());
}

TEST(GraphCanvasView, selectionOfAWireThatIsGoneIsHarmless) {
  CanvasWindow open(wired());
  open.click((open.place(sourcePort) + open.place(PortID::outputIn(1))) / 2);
  open.edit([](DeviceGraph& graph) { graph.wires = {{nodeID(1), 0, 0}}; });
  open.key(Qt::Key_Delete);
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{nodeID(1), 0, 0}));
  EXPECT_EQ(open.selected(), WireSelection());
}

TEST(GraphCanvasView, sourceThatVanishesUnderADragEndsIt) {
  CanvasWindow open(plain());
  const QPointF target = open.place(PortID::outputIn(1));
  open.press(open.place(sourcePort));
  open.move(target);
  ASSERT_TRUE(open.wireDrag().isActive());
  open.edit([](DeviceGraph& graph) { graph.sources = {test::source(7)}; });
  EXPECT_TRUE(eventually([&] { return !open.wireDrag().isActive(); }));
  open.release(target);
  EXPECT_THAT(open.graph().wires, IsEmpty());
  // The next drag, from the card that stands there instead, is as good as any.
  open.drag(open.place(PortID::sourceOut(nodeID(7), 0)), target);
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{nodeID(7), 0, 1}));
}

TEST(GraphCanvasView, sourceThatVanishesInTheMomentOfTheDropIsNotWired) {
  CanvasWindow open(plain());
  const QPointF target = open.place(PortID::outputIn(1));
  open.press(open.place(sourcePort));
  open.move(target);
  open.edit([](DeviceGraph& graph) { graph.sources.clear(); });
  open.release(target);
  EXPECT_THAT(open.graph().wires, IsEmpty());
}

TEST(WireEditor, ignoresNodesAndDevicesThatAreGone) {
  CanvasWindow open(plain());
  WireEditor& editor = *open.canvas->findChild<WireEditor*>();
  editor.connectPorts(PortID::sourceOut(nodeID(9), 0), PortID::outputIn(0));
  editor.connectPorts(PortID::outputOut(0), PortID::monitorIn(nodeID(9), 0));
  EXPECT_THAT(open.graph().wires, IsEmpty());
  EXPECT_THAT(open.graph().monitorWires, IsEmpty());
  open.publish({test::device("B")});
  open.state->reload();
  const std::int64_t edits = open.state->engineStateTick();
  editor.connectPorts(sourcePort, PortID::outputIn(0));
  editor.deleteWire(WireSelection::source(sourceWire));
  EXPECT_EQ(open.state->engineStateTick(), edits);
}

TEST(GraphCanvasView, deviceThatVanishesUnderADragEndsIt) {
  CanvasWindow open(plain());
  const QPointF target = open.place(PortID::outputIn(1));
  open.press(open.place(sourcePort));
  open.move(target);
  open.publish({test::device("B")});
  open.state->reload();
  EXPECT_FALSE(open.wireDrag().isActive());
  open.release(target);
  EXPECT_FALSE(open.state->graphs().contains(open.uid) && !open.graph().wires.empty());
  EXPECT_THAT(open.state->graph(test::device("B").uid).wires, IsEmpty());
}

TEST(GraphCanvasView, scrollsWhenItIsSmallAndKeepsHiddenPorts) {
  const CanvasWindow open(plain(), 16, {640, 400});
  QQuickItem* flickable = open.item("canvas.flickable");
  EXPECT_EQ(flickable->property("contentWidth").toDouble(), 920);
  EXPECT_GT(flickable->property("contentHeight").toDouble(), 560);
  const QPointF before = open.place(monitorPort);
  EXPECT_GT(before.x(), 640);
  flickable->setProperty("contentX", 280);
  flickable->setProperty("contentY", 90);
  EXPECT_EQ(open.place(monitorPort), before);
  open.drag(open.place(monitorPort), open.place(PortID::outputOut(0)));
  EXPECT_THAT(open.graph().monitorWires, ElementsAre(monitorWire));
}

TEST(GraphCanvasView, clickOnTheCanvasDoesNotScrollIt) {
  const CanvasWindow open(wired(), 16, {640, 400});
  const QQuickItem* flickable = open.item("canvas.flickable");
  open.click({320, 300});
  EXPECT_TRUE(open.space->hasActiveFocus());
  EXPECT_EQ(flickable->property("contentX").toDouble(), 0);
  EXPECT_EQ(flickable->property("contentY").toDouble(), 0);
}

TEST(GraphCanvasView, dragAtTheEdgeScrolls) {
  const CanvasWindow open(plain(), 16, {940, 400});
  const QQuickItem* flickable = open.item("canvas.flickable");
  open.press(open.place(PortID::outputIn(2)));
  open.move({500, 398});
  EXPECT_TRUE(eventually([&] {
    return flickable->property("contentY").toDouble() + flickable->height() ==
           flickable->property("contentHeight").toDouble();
  }));
  // The line still ends under the pointer.
  EXPECT_EQ(open.wireDrag().line()->to.y(), 398 + flickable->property("contentY").toDouble());
  open.key(Qt::Key_Escape);
  EXPECT_FALSE(open.wireDrag().isActive());
}

TEST(GraphCanvasView, growingCardTakesItsPortsAlong) {
  const CanvasWindow open(plain());
  const QPointF before = open.place(sourcePort);
  open.item("source." + nodeID(1).string())->setProperty("showGain", true);
  EXPECT_TRUE(eventually([&] { return open.layout->position(sourcePort)->y() > before.y(); }));
}

TEST(GraphCanvasView, widerWindowWidensTheGaps) {
  const CanvasWindow open(plain());
  const QPointF before = open.place(PortID::outputIn(0));
  open.window->resize(1200, 700);
  EXPECT_TRUE(eventually([&] { return open.layout->position(PortID::outputIn(0)) == before + QPointF(100, 0); }));
}

}  // namespace
}  // namespace brindlemux
