#pragma once

#include <cstdint>
#include <set>
#include <span>
#include <string>

#include "model/device_graph.h"
#include "platform/audio_device_info.h"

namespace brindlemux {

// How many channels a node's card shows, and which of them have wires.

/// 2 for an application and for all system audio. An input device has the larger of its input channels and the number
/// of its peaks, from 1 to 16, or 2 while it is not there.
std::int64_t channelCount(const SourceKindConfig& kind, std::span<const AudioDeviceInfo> devices,
                          std::int64_t peakCount);

/// The output channels of the device, from 1 to 16, or 2 while it is not there.
std::int64_t monitorChannels(const std::string& deviceUID, std::span<const AudioDeviceInfo> devices);

/// The channels of a source, or of a monitor, that have at least one wire.
std::set<std::int64_t> connectedSourceChannels(const DeviceGraph& graph, const UUID& source);
std::set<std::int64_t> connectedMonitorChannels(const DeviceGraph& graph, const UUID& monitor);

/// The output channels on which a source wire ends, and those at which a monitor wire starts.
std::set<std::int64_t> connectedInputs(const DeviceGraph& graph);
std::set<std::int64_t> connectedOutputs(const DeviceGraph& graph);

}  // namespace brindlemux
