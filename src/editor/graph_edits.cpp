#include "editor/graph_edits.h"

#include <algorithm>

namespace brindlemux {
namespace {

template <typename Node, typename Value>
void set(std::vector<Node>& nodes, const UUID& id, Value Node::*field, Value value) {
  const auto node = std::ranges::find(nodes, id, &Node::id);
  if (node != nodes.end()) (*node).*field = value;
}

template <typename Wire>
void append(std::vector<Wire>& wires, const std::vector<Wire>& more) {
  wires.insert(wires.end(), more.begin(), more.end());
}

}  // namespace

void addSource(DeviceGraph& graph, const UUID& id, const SourceKindConfig& kind, std::int64_t outputChannels) {
  SourceNodeConfig source;
  source.id = id;
  source.kind = kind;
  graph.sources.push_back(source);
  append(graph.wires, DeviceGraph::defaultWires(source, outputChannels));
}

void addMonitor(DeviceGraph& graph, const UUID& id, const std::string& deviceUID, const std::string& name,
                std::int64_t outputChannels, std::int64_t monitorChannels) {
  MonitorNodeConfig monitor;
  monitor.id = id;
  monitor.deviceUID = deviceUID;
  monitor.name = name;
  graph.monitors.push_back(monitor);
  append(graph.monitorWires, DeviceGraph::defaultMonitorWires(monitor, outputChannels, monitorChannels));
}

void removeSource(DeviceGraph& graph, const UUID& id) {
  std::erase_if(graph.sources, [&id](const SourceNodeConfig& source) { return source.id == id; });
  std::erase_if(graph.wires, [&id](const SourceWire& wire) { return wire.sourceID == id; });
}

void removeMonitor(DeviceGraph& graph, const UUID& id) {
  std::erase_if(graph.monitors, [&id](const MonitorNodeConfig& monitor) { return monitor.id == id; });
  std::erase_if(graph.monitorWires, [&id](const MonitorWire& wire) { return wire.monitorID == id; });
}

void setSourceGain(DeviceGraph& graph, const UUID& id, float gain) {
  set(graph.sources, id, &SourceNodeConfig::gain, gain);
}

void setMonitorGain(DeviceGraph& graph, const UUID& id, float gain) {
  set(graph.monitors, id, &MonitorNodeConfig::gain, gain);
}

void setSourceEnabled(DeviceGraph& graph, const UUID& id, bool enabled) {
  set(graph.sources, id, &SourceNodeConfig::enabled, enabled);
}

void setMonitorEnabled(DeviceGraph& graph, const UUID& id, bool enabled) {
  set(graph.monitors, id, &MonitorNodeConfig::enabled, enabled);
}

}  // namespace brindlemux
