#include "editor/node_channels.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

#include "editor/node_rows.h"

namespace brindlemux {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr UUID nodeA{{0xA}};
constexpr UUID nodeB{{0xB}};

AudioDeviceInfo device(std::int64_t inputChannels, std::int64_t outputChannels) {
  return {.id = 7,
          .uid = "Interface",
          .name = "Interface",
          .inputChannels = inputChannels,
          .outputChannels = outputChannels};
}

std::int64_t inputChannels(std::int64_t deviceChannels, std::int64_t peakCount) {
  const std::vector devices = {device(deviceChannels, 0)};
  return channelCount(MicSource{"Interface", "Interface"}, devices, peakCount);
}

std::int64_t outputChannels(std::int64_t deviceChannels) {
  const std::vector devices = {device(0, deviceChannels)};
  return monitorChannels("Interface", devices);
}

TEST(NodeChannels, applicationsAndSystemAudioHaveTwo) {
  const std::vector devices = {device(8, 8)};
  EXPECT_EQ(channelCount(AppSource{"Interface", "Interface"}, devices, 6), 2);
  EXPECT_EQ(channelCount(SystemAudioSource{}, devices, 6), 2);
}

TEST(NodeChannels, inputDeviceHasItsChannelsOrItsPeaks) {
  EXPECT_EQ(inputChannels(1, 0), 1);
  EXPECT_EQ(inputChannels(8, 2), 8);
  EXPECT_EQ(inputChannels(2, 4), 4);
}

TEST(NodeChannels, inputDeviceHasAtLeastOneAndAtMostSixteen) {
  EXPECT_EQ(inputChannels(0, 0), 1);
  EXPECT_EQ(inputChannels(20, 0), 16);
  EXPECT_EQ(inputChannels(2, 20), 16);
}

TEST(NodeChannels, inputDeviceThatIsGoneHasTwo) {
  EXPECT_EQ(channelCount(MicSource{"Interface", "Interface"}, {}, 0), 2);
  EXPECT_EQ(channelCount(MicSource{"Interface", "Interface"}, {}, 8), 2);
}

TEST(NodeChannels, monitorHasItsDevicesChannels) {
  EXPECT_EQ(outputChannels(1), 1);
  EXPECT_EQ(outputChannels(6), 6);
  EXPECT_EQ(outputChannels(0), 1);
  EXPECT_EQ(outputChannels(24), 16);
  EXPECT_EQ(monitorChannels("Interface", {}), 2);
}

TEST(NodeChannels, connectedChannelsAreThoseWithAWire) {
  DeviceGraph graph("A");
  graph.wires = {{nodeA, 1, 5}, {nodeA, 1, 0}, {nodeB, 0, 5}};
  graph.monitorWires = {{3, nodeA, 0}, {2, nodeA, 0}, {3, nodeB, 7}};
  EXPECT_THAT(connectedSourceChannels(graph, nodeA), ElementsAre(1));
  EXPECT_THAT(connectedSourceChannels(graph, nodeB), ElementsAre(0));
  EXPECT_THAT(connectedSourceChannels(graph, UUID{}), IsEmpty());
  EXPECT_THAT(connectedMonitorChannels(graph, nodeA), ElementsAre(0));
  EXPECT_THAT(connectedMonitorChannels(graph, nodeB), ElementsAre(7));
  EXPECT_THAT(connectedInputs(graph), ElementsAre(0, 5));
  EXPECT_THAT(connectedOutputs(graph), ElementsAre(2, 3));
}

TEST(NodeChannels, numberThatNoCardHasIsNotTakenForAnother) {
  // The lower 32 bits are those of channel 0.
  EXPECT_THAT(channelNumbers(std::set<std::int64_t>{1, 0x100000000}), ElementsAre(1));
}

}  // namespace
}  // namespace brindlemux
