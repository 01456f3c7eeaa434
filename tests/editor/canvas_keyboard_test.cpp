#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "editor/canvas_window.h"
#include "editor/port_order.h"

namespace brindlemux {
namespace {

using test::CanvasWindow;
using test::eventually;
using test::nodeID;
using testing::ElementsAre;
using testing::IsEmpty;

DeviceGraph plain() {
  DeviceGraph graph;
  graph.sources = {test::source(1), test::source(3)};
  graph.monitors = {test::monitor(2)};
  return graph;
}

const PortID firstPort = PortID::sourceOut(nodeID(1), 0);

struct Keyboard : CanvasWindow {
  explicit Keyboard(const DeviceGraph& graph = plain(), QSize size = {1000, 700}) : CanvasWindow(graph, 4, size) {
    place(PortID::sourceOut(nodeID(3), 1));
    focus(firstPort);
  }
  void focus(const PortID& port) const { layout->view(port)->forceActiveFocus(Qt::TabFocusReason); }
  std::optional<PortID> focused() const { return layout->port(window->activeFocusItem()); }
};

TEST(CanvasKeyboard, arrowsStepFromPortToPort) {
  const Keyboard open;
  open.key(Qt::Key_Down);
  EXPECT_EQ(open.focused(), PortID::sourceOut(nodeID(1), 1));
  open.key(Qt::Key_Down);
  EXPECT_EQ(open.focused(), PortID::sourceOut(nodeID(3), 0));
  open.key(Qt::Key_Up);
  open.key(Qt::Key_Up);
  EXPECT_EQ(open.focused(), firstPort);
  // Above it are only the pass-through ports, which take no wires.
  open.key(Qt::Key_Up);
  EXPECT_EQ(open.focused(), firstPort);
  open.key(Qt::Key_Right);
  ASSERT_TRUE(open.focused());
  EXPECT_EQ(open.focused()->kind(), PortID::Kind::outputIn);
  open.key(Qt::Key_Right);
  EXPECT_EQ(open.focused()->kind(), PortID::Kind::outputOut);
  open.key(Qt::Key_Right);
  EXPECT_EQ(open.focused()->kind(), PortID::Kind::monitorIn);
  open.key(Qt::Key_Left);
  EXPECT_EQ(open.focused()->kind(), PortID::Kind::outputOut);
}

TEST(CanvasKeyboard, tabReachesEveryPortThatTakesWires) {
  const Keyboard open;
  std::vector<PortID> seen;
  for (int i = 0; i < 60; ++i) {
    if (const auto port = open.focused(); port && std::ranges::find(seen, *port) == seen.end()) seen.push_back(*port);
    open.key(Qt::Key_Tab);
  }
  // Two sources of two channels, four output channels with two ports each, a monitor of two.
  EXPECT_EQ(seen.size(), 2U * 2 + 4 * 2 + 2);
  EXPECT_TRUE(std::ranges::none_of(seen, [](const PortID& p) { return p.kind() == PortID::Kind::passThruOut; }));
}

TEST(CanvasKeyboard, enterTakesAWireAndEnterEndsIt) {
  const Keyboard open;
  open.key(Qt::Key_Return);
  ASSERT_TRUE(open.wireDrag().isActive());
  EXPECT_TRUE(open.shows("canvas.wireEnd"));
  while (open.wireDrag().target() != PortID::outputIn(0)) open.key(Qt::Key_Up);
  open.key(Qt::Key_Down);
  open.key(Qt::Key_Tab);
  EXPECT_EQ(open.wireDrag().target(), PortID::outputIn(2));
  open.key(Qt::Key_Backtab, Qt::ShiftModifier);
  EXPECT_EQ(open.wireDrag().target(), PortID::outputIn(1));
  open.key(Qt::Key_Return);
  EXPECT_FALSE(open.wireDrag().isActive());
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{nodeID(1), 0, 1}));
  EXPECT_EQ(open.focused(), firstPort);
}

TEST(CanvasKeyboard, theSameAgainTakesTheWireAway) {
  const Keyboard open;
  for (int i = 0; i < 2; ++i) {
    open.key(Qt::Key_Return);
    while (open.wireDrag().target() != PortID::outputIn(3)) open.key(Qt::Key_Down);
    EXPECT_EQ(open.wireDrag().disconnects(), i == 1);
    open.key(Qt::Key_Space);
    EXPECT_EQ(open.graph().wires.size(), i == 0 ? 1U : 0U);
  }
}

TEST(CanvasKeyboard, stepsGoRoundInBothDirections) {
  const Keyboard open;
  open.key(Qt::Key_Return);
  while (open.wireDrag().target() != PortID::outputIn(3)) open.key(Qt::Key_Down);
  open.key(Qt::Key_Down);
  EXPECT_EQ(open.wireDrag().target(), PortID::outputIn(0));
  open.key(Qt::Key_Up);
  EXPECT_EQ(open.wireDrag().target(), PortID::outputIn(3));
}

TEST(CanvasKeyboard, escapeGivesUpAndTheNextWireIsAsGood) {
  const Keyboard open;
  open.key(Qt::Key_Return);
  open.key(Qt::Key_Escape);
  EXPECT_FALSE(open.wireDrag().isActive());
  EXPECT_FALSE(open.shows("canvas.wireEnd"));
  EXPECT_EQ(open.focused(), firstPort);
  open.key(Qt::Key_Return);
  EXPECT_TRUE(open.wireDrag().isActive());
  open.key(Qt::Key_Return);
  EXPECT_EQ(open.graph().wires.size(), 1U);
}

TEST(CanvasKeyboard, clickElsewhereGivesUp) {
  const Keyboard open;
  open.key(Qt::Key_Return);
  open.click({330, 690});
  EXPECT_FALSE(open.wireDrag().isActive());
  EXPECT_THAT(open.graph().wires, IsEmpty());
}

TEST(CanvasKeyboard, targetThatGoesLeavesTheWireToTheNext) {
  Keyboard open;
  open.focus(PortID::outputIn(0));
  open.key(Qt::Key_Return);
  ASSERT_TRUE(open.wireDrag().isActive());
  while (open.wireDrag().target() != firstPort) open.key(Qt::Key_Down);
  open.edit([](DeviceGraph& graph) { graph.sources.erase(graph.sources.begin()); });
  EXPECT_TRUE(eventually([&] { return open.wireDrag().target() == PortID::sourceOut(nodeID(3), 0); }));
  open.key(Qt::Key_Return);
  EXPECT_THAT(open.graph().wires, ElementsAre(SourceWire{nodeID(3), 0, 0}));
}

TEST(CanvasKeyboard, beginningThatGoesEndsTheWire) {
  Keyboard open;
  open.key(Qt::Key_Return);
  open.edit([](DeviceGraph& graph) { graph.sources.erase(graph.sources.begin()); });
  EXPECT_TRUE(eventually([&] { return !open.wireDrag().isActive(); }));
  open.key(Qt::Key_Return);
  EXPECT_THAT(open.graph().wires, IsEmpty());
}

TEST(CanvasKeyboard, focusedPortIsScrolledIntoView) {
  const Keyboard open(plain(), {640, 400});
  const QQuickItem* flickable = open.item("canvas.flickable");
  open.focus(PortID::monitorIn(nodeID(2), 1));
  EXPECT_GT(flickable->property("contentX").toDouble(), 0);
  open.focus(PortID::sourceOut(nodeID(3), 1));
  EXPECT_EQ(flickable->property("contentX").toDouble(), 0);
  const QPoint place = open.inWindow(open.place(PortID::sourceOut(nodeID(3), 1)));
  EXPECT_LT(place.y(), 400);
}

TEST(CanvasKeyboard, nothingToWireToBeginsNothing) {
  const Keyboard open([] {
    DeviceGraph graph = plain();
    graph.monitors.clear();
    return graph;
  }());
  open.focus(PortID::outputOut(0));
  open.key(Qt::Key_Return);
  EXPECT_FALSE(open.wireDrag().isActive());
}

}  // namespace
}  // namespace brindlemux
