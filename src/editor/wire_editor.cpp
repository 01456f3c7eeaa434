#include "editor/wire_editor.h"

#include <algorithm>

#include "editor/wire_edits.h"
#include "editor/wire_hit.h"

namespace brindlemux {

const PortPositions& WireEditor::positions() const {
  static const PortPositions nowhere;
  const GraphLayoutModel* layout = layout_;
  return layout != nullptr ? layout->positions() : nowhere;
}

bool WireEditor::isDevicePresent() const {
  return appState_ != nullptr && appState_->virtualDeviceUIDs().contains(deviceUID_.toStdString());
}

bool WireEditor::isPortPresent(const PortID& port) const {
  if (!isDevicePresent()) return false;
  const DeviceGraph graph = appState_->graph(deviceUID_.toStdString());
  switch (port.kind()) {
    case PortID::Kind::sourceOut:
      return std::ranges::find(graph.sources, port.node(), &SourceNodeConfig::id) != graph.sources.end();
    case PortID::Kind::monitorIn:
      return std::ranges::find(graph.monitors, port.node(), &MonitorNodeConfig::id) != graph.monitors.end();
    case PortID::Kind::outputIn:
    case PortID::Kind::outputOut:
    case PortID::Kind::passThruOut:
      break;
  }
  return true;
}

bool WireEditor::isConnected(const PortID& a, const PortID& b) const {
  if (appState_ == nullptr) return false;
  const DeviceGraph graph = appState_->graph(deviceUID_.toStdString());
  const WireSelection wire = wireBetween(a, b);
  return (wire.sourceWire() != nullptr && std::ranges::count(graph.wires, *wire.sourceWire()) > 0) ||
         (wire.monitorWire() != nullptr && std::ranges::count(graph.monitorWires, *wire.monitorWire()) > 0);
}

void WireEditor::connectPorts(const PortID& a, const PortID& b) {
  if (!isPortPresent(a) || !isPortPresent(b)) return;
  appState_->updateGraph(deviceUID_.toStdString(), AppState::Persist::yes,
                         [&](DeviceGraph& graph) { brindlemux::connect(graph, a, b); });
}

void WireEditor::deleteWire(const WireSelection& wire) {
  if (!isDevicePresent()) return;
  appState_->updateGraph(deviceUID_.toStdString(), AppState::Persist::yes,
                         [wire](DeviceGraph& graph) { brindlemux::deleteWire(graph, wire); });
}

WireSelection WireEditor::wireHit(QPointF point) const {
  if (appState_ == nullptr) return {};
  return brindlemux::wireHit(appState_->graph(deviceUID_.toStdString()), positions(), point);
}

}  // namespace brindlemux
