#include "model/device_graph.h"

#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace brindlemux {
namespace {

UUID identifier(std::uint8_t number) {
  UUID id;
  id.bytes[0] = number;
  return id;
}

/// Values that differ pairwise must be unequal, and in practice hash differently.
template <typename Record>
void expectAllDistinct(const std::vector<Record>& records) {
  for (std::size_t i = 0; i < records.size(); ++i) {
    const Record copy = records[i];  // NOLINT(performance-unnecessary-copy-initialization): it is what is tested.
    EXPECT_EQ(records[i], copy) << i;
    EXPECT_EQ(std::hash<Record>{}(records[i]), std::hash<Record>{}(copy)) << i;
    for (std::size_t j = i + 1; j < records.size(); ++j) {
      EXPECT_NE(records[i], records[j]) << i << " and " << j;
      EXPECT_NE(std::hash<Record>{}(records[i]), std::hash<Record>{}(records[j])) << i << " and " << j;
    }
  }
}

TEST(DeviceGraph, aGraphOfAFreshDeviceHasTheDefaults) {
  const DeviceGraph graph("uid");
  EXPECT_EQ(graph.deviceUID, "uid");
  EXPECT_TRUE(graph.enabled);
  EXPECT_EQ(graph.masterGain, 1.0F);
  EXPECT_TRUE(graph.outputGains.empty());
  EXPECT_EQ(graph.latencyFrames, 256);
  EXPECT_TRUE(graph.sources.empty());
  EXPECT_TRUE(graph.wires.empty());
  EXPECT_TRUE(graph.monitors.empty());
  EXPECT_TRUE(graph.monitorWires.empty());
}

TEST(DeviceGraph, nodesStartAtUnityAndEnabled) {
  const SourceNodeConfig source;
  EXPECT_EQ(source.gain, 1.0F);
  EXPECT_TRUE(source.channelGains.empty());
  EXPECT_TRUE(source.enabled);
  const MonitorNodeConfig monitor;
  EXPECT_EQ(monitor.gain, 1.0F);
  EXPECT_TRUE(monitor.enabled);
}

TEST(DeviceGraph, aSourceStartsAsAStereoPair) {
  const SourceNodeConfig source = {.id = identifier(7), .kind = SystemAudioSource{}, .channelGains = {}};
  const SourceWire left = {.sourceID = identifier(7), .sourceChannel = 0, .outputChannel = 0};
  const SourceWire right = {.sourceID = identifier(7), .sourceChannel = 1, .outputChannel = 1};
  EXPECT_EQ(DeviceGraph::defaultWires(source, 0), std::vector<SourceWire>{});
  EXPECT_EQ(DeviceGraph::defaultWires(source, 1), std::vector{left});
  EXPECT_EQ(DeviceGraph::defaultWires(source, 2), (std::vector{left, right}));
  EXPECT_EQ(DeviceGraph::defaultWires(source, 8), (std::vector{left, right}));
  EXPECT_EQ(DeviceGraph::defaultWires(source, std::numeric_limits<std::int64_t>::max()), (std::vector{left, right}));
}

TEST(DeviceGraph, aMonitorStartsWithTheChannelsThatBothSidesHave) {
  const MonitorNodeConfig monitor = {.id = identifier(9), .deviceUID = "speakers", .name = "Speakers"};
  const MonitorWire left = {.outputChannel = 0, .monitorID = identifier(9), .monitorChannel = 0};
  const MonitorWire right = {.outputChannel = 1, .monitorID = identifier(9), .monitorChannel = 1};
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 2, 2), (std::vector{left, right}));
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 16, 8), (std::vector{left, right}));
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 2, 1), std::vector{left});
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 1, 2), std::vector{left});
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 0, 2), std::vector<MonitorWire>{});
  EXPECT_EQ(DeviceGraph::defaultMonitorWires(monitor, 2, 0), std::vector<MonitorWire>{});
}

TEST(DeviceGraphDeathTest, negativeChannelCountsAreFatal) {
  EXPECT_DEATH(DeviceGraph::defaultWires({}, -1), "negative number of output channels");
  EXPECT_DEATH(DeviceGraph::defaultMonitorWires({}, -1, 2), "negative number of channels");
  EXPECT_DEATH(DeviceGraph::defaultMonitorWires({}, 2, -1), "negative number of channels");
}

TEST(DeviceGraph, kindsAreEqualOnlyInCaseAndEveryValue) {
  expectAllDistinct(std::vector<SourceKindConfig>{
      AppSource{.bundleID = "com.example.player", .name = "Player"},
      AppSource{.bundleID = "com.example.player", .name = "Other"},
      AppSource{.bundleID = "com.example.other", .name = "Player"},
      AppSource{.bundleID = "Player", .name = "com.example.player"},
      MicSource{.deviceUID = "com.example.player", .name = "Player"},
      MicSource{.deviceUID = "com.example.player", .name = "Other"},
      MicSource{.deviceUID = "com.example.other", .name = "Player"},
      SystemAudioSource{},
  });
}

TEST(DeviceGraph, sourcesCompareAndHashOverEveryField) {
  const SourceNodeConfig source = {
      .id = identifier(1), .kind = SystemAudioSource{}, .gain = 0.5F, .channelGains = {0.25F, 2.0F}, .enabled = true};
  std::vector<SourceNodeConfig> sources(6, source);
  sources[1].id = identifier(2);
  sources[2].kind = MicSource{.deviceUID = "mic", .name = "Mic"};
  sources[3].gain = 0.75F;
  sources[4].channelGains = {2.0F, 0.25F};
  sources[5].enabled = false;
  expectAllDistinct(sources);
}

TEST(DeviceGraph, sourceWiresCompareAndHashOverEveryField) {
  expectAllDistinct(std::vector<SourceWire>{
      {.sourceID = identifier(1), .sourceChannel = 0, .outputChannel = 1},
      {.sourceID = identifier(2), .sourceChannel = 0, .outputChannel = 1},
      {.sourceID = identifier(1), .sourceChannel = 1, .outputChannel = 0},
      {.sourceID = identifier(1), .sourceChannel = 1, .outputChannel = 1},
      {.sourceID = identifier(1), .sourceChannel = 0, .outputChannel = 0},
  });
}

TEST(DeviceGraph, monitorsCompareAndHashOverEveryField) {
  const MonitorNodeConfig monitor = {
      .id = identifier(1), .deviceUID = "speakers", .name = "Speakers", .gain = 0.5F, .enabled = true};
  std::vector<MonitorNodeConfig> monitors(6, monitor);
  monitors[1].id = identifier(2);
  monitors[2].deviceUID = "other";
  monitors[3].name = "other";
  monitors[4].gain = 0.75F;
  monitors[5].enabled = false;
  expectAllDistinct(monitors);
}

TEST(DeviceGraph, monitorWiresCompareAndHashOverEveryField) {
  expectAllDistinct(std::vector<MonitorWire>{
      {.outputChannel = 0, .monitorID = identifier(1), .monitorChannel = 1},
      {.outputChannel = 0, .monitorID = identifier(2), .monitorChannel = 1},
      {.outputChannel = 1, .monitorID = identifier(1), .monitorChannel = 0},
      {.outputChannel = 1, .monitorID = identifier(1), .monitorChannel = 1},
      {.outputChannel = 0, .monitorID = identifier(1), .monitorChannel = 0},
  });
}

TEST(DeviceGraph, zerosOfEitherSignAreEqualAndHashEqually) {
  MonitorNodeConfig monitor;
  monitor.gain = 0.0F;
  MonitorNodeConfig negative;
  negative.gain = -0.0F;
  EXPECT_EQ(monitor, negative);
  EXPECT_EQ(std::hash<MonitorNodeConfig>{}(monitor), std::hash<MonitorNodeConfig>{}(negative));
}

}  // namespace
}  // namespace brindlemux
