#pragma once

#include <cstdint>

#include "model/device_graph.h"

namespace brindlemux {

// The edits that the node cards and the menus make. A node that is not in the graph is left alone.

/// Appends the source with the wires that a new one receives. Units: `outputChannels` of the virtual device.
void addSource(DeviceGraph& graph, const UUID& id, const SourceKindConfig& kind, std::int64_t outputChannels);
/// Appends the monitor likewise; `monitorChannels` are its device's.
void addMonitor(DeviceGraph& graph, const UUID& id, const std::string& deviceUID, const std::string& name,
                std::int64_t outputChannels, std::int64_t monitorChannels);

/// Removes every source, or monitor, with this identifier and every wire of it.
void removeSource(DeviceGraph& graph, const UUID& id);
void removeMonitor(DeviceGraph& graph, const UUID& id);

void setSourceGain(DeviceGraph& graph, const UUID& id, float gain);
void setMonitorGain(DeviceGraph& graph, const UUID& id, float gain);
void setSourceEnabled(DeviceGraph& graph, const UUID& id, bool enabled);
void setMonitorEnabled(DeviceGraph& graph, const UUID& id, bool enabled);

}  // namespace brindlemux
