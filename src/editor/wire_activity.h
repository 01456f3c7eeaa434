#pragma once

#include <cstdint>
#include <optional>
#include <unordered_set>
#include <vector>

#include "engine/meter_snapshot.h"
#include "model/device_graph.h"

namespace brindlemux {

/// A wire carries sound when its peak exceeds this.
inline constexpr float audiblePeak = 0.015F;

/// The peak of a channel that the meters know.
std::optional<float> peakOf(const std::vector<float>& peaks, std::int64_t channel) noexcept;
std::optional<float> sourcePeakOf(const MeterSnapshot& meters, const UUID& source, std::int64_t channel) noexcept;

/// The peak when it is loud enough for its wire to carry sound.
std::optional<float> audible(std::optional<float> peak) noexcept;

/// The sources that are switched on.
std::unordered_set<UUID> audibleSourceIDs(const DeviceGraph& graph);

/// Whether any wire carries sound. `meters` is null while the engine has published none.
bool hasActivity(const DeviceGraph& graph, std::int64_t deviceChannels, const MeterSnapshot* meters);

}  // namespace brindlemux
