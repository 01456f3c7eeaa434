#include "model/device_graph.h"

#include <algorithm>

#include "model/fatal_error.h"
#include "model/hash_combine.h"

namespace brindlemux {
namespace {

/// A node starts as a stereo pair, however wide the device is.
constexpr std::int64_t defaultWireCount = 2;

}  // namespace

std::vector<SourceWire> DeviceGraph::defaultWires(const SourceNodeConfig& source, std::int64_t outputChannels) {
  if (outputChannels < 0) fatalError("a negative number of output channels");
  std::vector<SourceWire> wires;
  for (std::int64_t channel = 0; channel < std::min(outputChannels, defaultWireCount); ++channel) {
    wires.push_back({.sourceID = source.id, .sourceChannel = channel, .outputChannel = channel});
  }
  return wires;
}

std::vector<MonitorWire> DeviceGraph::defaultMonitorWires(const MonitorNodeConfig& monitor, std::int64_t outputChannels,
                                                          std::int64_t monitorChannels) {
  const std::int64_t common = std::min(monitorChannels, outputChannels);
  if (common < 0) fatalError("a negative number of channels between an output and a monitor");
  std::vector<MonitorWire> wires;
  for (std::int64_t channel = 0; channel < std::min(common, defaultWireCount); ++channel) {
    wires.push_back({.outputChannel = channel, .monitorID = monitor.id, .monitorChannel = channel});
  }
  return wires;
}

}  // namespace brindlemux

namespace {

struct KindHash {
  std::size_t operator()(const brindlemux::AppSource& app) const noexcept {
    return brindlemux::hashOf(app.bundleID, app.name);
  }
  std::size_t operator()(const brindlemux::MicSource& mic) const noexcept {
    return brindlemux::hashOf(mic.deviceUID, mic.name);
  }
  std::size_t operator()(const brindlemux::SystemAudioSource&) const noexcept { return 0; }
};

}  // namespace

std::size_t std::hash<brindlemux::SourceKindConfig>::operator()(
    const brindlemux::SourceKindConfig& kind) const noexcept {
  return brindlemux::hashOf(kind.index(), std::visit(KindHash{}, kind));
}

std::size_t std::hash<brindlemux::SourceNodeConfig>::operator()(
    const brindlemux::SourceNodeConfig& source) const noexcept {
  return brindlemux::hashOf(source.id, source.kind, source.gain, brindlemux::hashOfAll(source.channelGains),
                            source.enabled);
}

std::size_t std::hash<brindlemux::SourceWire>::operator()(const brindlemux::SourceWire& wire) const noexcept {
  return brindlemux::hashOf(wire.sourceID, wire.sourceChannel, wire.outputChannel);
}

std::size_t std::hash<brindlemux::MonitorNodeConfig>::operator()(
    const brindlemux::MonitorNodeConfig& monitor) const noexcept {
  return brindlemux::hashOf(monitor.id, monitor.deviceUID, monitor.name, monitor.gain, monitor.enabled);
}

std::size_t std::hash<brindlemux::MonitorWire>::operator()(const brindlemux::MonitorWire& wire) const noexcept {
  return brindlemux::hashOf(wire.outputChannel, wire.monitorID, wire.monitorChannel);
}
