#include "editor/port_id.h"

#include <gtest/gtest.h>

#include "editor/ports.h"

namespace brindlemux {
namespace {

constexpr UUID nodeA{{0xA}};
constexpr UUID nodeB{{0xB}};

TEST(PortID, equalWhenKindNodeAndChannelAre) {
  EXPECT_EQ(PortID::sourceOut(nodeA, 1), PortID::sourceOut(nodeA, 1));
  EXPECT_NE(PortID::sourceOut(nodeA, 1), PortID::sourceOut(nodeA, 0));
  EXPECT_NE(PortID::sourceOut(nodeA, 1), PortID::sourceOut(nodeB, 1));
  EXPECT_NE(PortID::sourceOut(nodeA, 1), PortID::monitorIn(nodeA, 1));
  EXPECT_NE(PortID::outputIn(1), PortID::outputOut(1));
  EXPECT_NE(PortID::outputOut(1), PortID::passThruOut(1));
}

TEST(PortID, equalPortsHaveEqualHashesAndOthersDoNot) {
  const std::hash<PortID> hash;
  EXPECT_EQ(hash(PortID::monitorIn(nodeA, 7)), hash(PortID::monitorIn(nodeA, 7)));
  EXPECT_NE(hash(PortID::monitorIn(nodeA, 7)), hash(PortID::sourceOut(nodeA, 7)));
  EXPECT_NE(hash(PortID::monitorIn(nodeA, 7)), hash(PortID::monitorIn(nodeB, 7)));
  EXPECT_NE(hash(PortID::outputIn(0)), hash(PortID::outputIn(1)));
}

TEST(PortID, saysWhichSideItIsOn) {
  EXPECT_TRUE(PortID::sourceOut(nodeA, 0).isOutput());
  EXPECT_TRUE(PortID::passThruOut(0).isOutput());
  EXPECT_TRUE(PortID::outputOut(0).isOutput());
  EXPECT_FALSE(PortID::outputIn(0).isOutput());
  EXPECT_FALSE(PortID::monitorIn(nodeA, 0).isOutput());
}

TEST(Ports, readNodesFromText) {
  const QString text = QString::fromStdString(nodeA.string());
  EXPECT_EQ(Ports::sourceOut(text, 3), PortID::sourceOut(nodeA, 3));
  EXPECT_EQ(Ports::monitorIn(text, 3), PortID::monitorIn(nodeA, 3));
  EXPECT_EQ(PortID::monitorIn(nodeA, 3).nodeID(), text);
  EXPECT_EQ(PortID::outputIn(3).nodeID(), QString());
}

TEST(Ports, makeTheOtherKindsAndTolerateNonsense) {
  EXPECT_EQ(Ports::outputIn(2), PortID::outputIn(2));
  EXPECT_EQ(Ports::outputOut(2), PortID::outputOut(2));
  EXPECT_EQ(Ports::passThruOut(2), PortID::passThruOut(2));
  EXPECT_EQ(Ports::sourceOut(QStringLiteral("no identifier"), 0), PortID::sourceOut(UUID{}, 0));
}

}  // namespace
}  // namespace brindlemux
