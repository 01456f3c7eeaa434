#include "editor/node_channels.h"

#include <algorithm>

#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

/// What a node shows whose device is not there.
constexpr std::int64_t usualChannels = 2;

const AudioDeviceInfo* withUID(std::span<const AudioDeviceInfo> devices, const std::string& uid) {
  const auto found =
      std::find_if(devices.begin(), devices.end(), [&uid](const AudioDeviceInfo& device) { return device.uid == uid; });
  return found != devices.end() ? &*found : nullptr;
}

}  // namespace

std::int64_t channelCount(const SourceKindConfig& kind, std::span<const AudioDeviceInfo> devices,
                          std::int64_t peakCount) {
  const auto* mic = std::get_if<MicSource>(&kind);
  if (mic == nullptr) return usualChannels;
  const AudioDeviceInfo* device = withUID(devices, mic->deviceUID);
  if (device == nullptr) return usualChannels;
  return std::clamp<std::int64_t>(std::max(peakCount, device->inputChannels), 1, maximumChannels);
}

std::int64_t monitorChannels(const std::string& deviceUID, std::span<const AudioDeviceInfo> devices) {
  const AudioDeviceInfo* device = withUID(devices, deviceUID);
  if (device == nullptr) return usualChannels;
  return std::clamp<std::int64_t>(device->outputChannels, 1, maximumChannels);
}

std::set<std::int64_t> connectedSourceChannels(const DeviceGraph& graph, const UUID& source) {
  std::set<std::int64_t> channels;
  for (const SourceWire& wire : graph.wires) {
    if (wire.sourceID == source) channels.insert(wire.sourceChannel);
  }
  return channels;
}

std::set<std::int64_t> connectedMonitorChannels(const DeviceGraph& graph, const UUID& monitor) {
  std::set<std::int64_t> channels;
  for (const MonitorWire& wire : graph.monitorWires) {
    if (wire.monitorID == monitor) channels.insert(wire.monitorChannel);
  }
  return channels;
}

std::set<std::int64_t> connectedInputs(const DeviceGraph& graph) {
  std::set<std::int64_t> channels;
  for (const SourceWire& wire : graph.wires) channels.insert(wire.outputChannel);
  return channels;
}

std::set<std::int64_t> connectedOutputs(const DeviceGraph& graph) {
  std::set<std::int64_t> channels;
  for (const MonitorWire& wire : graph.monitorWires) channels.insert(wire.outputChannel);
  return channels;
}

}  // namespace brindlemux
