#include "editor/wire_activity.h"

#include <algorithm>

namespace brindlemux {

std::optional<float> peakOf(const std::vector<float>& peaks, std::int64_t channel) noexcept {
  if (channel < 0 || channel >= static_cast<std::int64_t>(peaks.size())) return std::nullopt;
  return peaks[static_cast<std::size_t>(channel)];
}

std::optional<float> sourcePeakOf(const MeterSnapshot& meters, const UUID& source, std::int64_t channel) noexcept {
  const auto peaks = meters.sourcePeaks.find(source);
  return peaks != meters.sourcePeaks.end() ? peakOf(peaks->second, channel) : std::nullopt;
}

std::optional<float> audible(std::optional<float> peak) noexcept {
  return peak && *peak > audiblePeak ? peak : std::nullopt;
}

std::unordered_set<UUID> audibleSourceIDs(const DeviceGraph& graph) {
  std::unordered_set<UUID> ids;
  for (const SourceNodeConfig& source : graph.sources) {
    if (source.enabled) ids.insert(source.id);
  }
  return ids;
}

bool hasActivity(const DeviceGraph& graph, std::int64_t deviceChannels, const MeterSnapshot* meters) {
  if (meters == nullptr) return false;
  const std::unordered_set<UUID> audibleIDs = audibleSourceIDs(graph);
  const bool isSourceHeard = std::ranges::any_of(graph.wires, [&](const SourceWire& wire) {
    return audibleIDs.contains(wire.sourceID) && audible(sourcePeakOf(*meters, wire.sourceID, wire.sourceChannel));
  });
  if (isSourceHeard) return true;
  const bool isOutputHeard = std::ranges::any_of(graph.monitorWires, [&](const MonitorWire& wire) {
    return audible(peakOf(meters->outputPeaks, wire.outputChannel)).has_value();
  });
  if (isOutputHeard) return true;
  for (std::int64_t channel = 0; channel < deviceChannels; ++channel) {
    if (audible(peakOf(meters->passThruPeaks, channel))) return true;
  }
  return false;
}

}  // namespace brindlemux
