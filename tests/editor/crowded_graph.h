#pragma once

#include "editor/editor_samples.h"
#include "engine/meter_snapshot.h"

namespace brindlemux::test {

/// As much as a large session has: 24 stereo sources, 8 stereo monitors and 200 wires on a device of 16 channels.
inline constexpr std::int64_t crowdedChannels = 16;

inline DeviceGraph crowdedGraph() {
  DeviceGraph graph;
  for (std::uint8_t i = 0; i < 24; ++i)
    graph.sources.push_back({.id = nodeID(static_cast<std::uint8_t>(1 + i)),
                             .kind = AppSource{"app." + std::to_string(i), "Application " + std::to_string(i + 1)}});
  for (std::uint8_t i = 0; i < 8; ++i)
    graph.monitors.push_back({.id = nodeID(static_cast<std::uint8_t>(101 + i)),
                              .deviceUID = "speakers",
                              .name = "Speakers " + std::to_string(i + 1)});
  for (std::int64_t i = 0; i < 144; ++i)
    graph.wires.push_back(
        {graph.sources[static_cast<std::size_t>(i % 24)].id, i / 24 % 2, (i * 7 + i / 24) % crowdedChannels});
  for (std::int64_t i = 0; i < 56; ++i)
    graph.monitorWires.push_back(
        {(i * 5 + i / 16) % crowdedChannels, graph.monitors[static_cast<std::size_t>(i % 8)].id, i / 8 % 2});
  return graph;
}

/// Every channel sounds, each at a level of its own that moves with `moment`.
inline MeterSnapshot crowdedMeters(const DeviceGraph& graph, int moment) {
  const auto peak = [&](int channel) { return 0.05F + 0.01F * static_cast<float>((channel * 13 + moment * 7) % 80); };
  MeterSnapshot meters;
  int number = 0;
  for (const SourceNodeConfig& source : graph.sources) {
    meters.sourcePeaks[source.id] = {peak(number), peak(number + 1)};
    number += 2;
  }
  for (int channel = 0; channel < crowdedChannels; ++channel) {
    meters.outputPeaks.push_back(peak(channel));
    meters.passThruPeaks.push_back(peak(channel + 5));
    meters.outputClip.push_back(false);
  }
  return meters;
}

/// The same, silent.
inline MeterSnapshot silentMeters(const DeviceGraph& graph) {
  MeterSnapshot meters;
  for (const SourceNodeConfig& source : graph.sources) meters.sourcePeaks[source.id] = {0, 0};
  meters.outputPeaks.assign(crowdedChannels, 0);
  meters.passThruPeaks.assign(crowdedChannels, 0);
  meters.outputClip.assign(crowdedChannels, false);
  return meters;
}

}  // namespace brindlemux::test
