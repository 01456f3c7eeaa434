#include "editor/wire_edits.h"

#include <utility>

#include "editor/drop_search.h"

namespace brindlemux {
namespace {

template <typename Wire>
void toggle(std::vector<Wire>& wires, const Wire& wire) {
  if (std::erase(wires, wire) == 0) wires.push_back(wire);
}

}  // namespace

WireSelection wireBetween(const PortID& a, const PortID& b) {
  if (!arePortsCompatible(a, b)) return {};
  const auto& [out, in] = a.isOutput() ? std::pair(a, b) : std::pair(b, a);
  if (out.kind() == PortID::Kind::sourceOut) return WireSelection::source({out.node(), out.channel(), in.channel()});
  return WireSelection::monitor({out.channel(), in.node(), in.channel()});
}

void connect(DeviceGraph& graph, const PortID& a, const PortID& b) {
  const WireSelection wire = wireBetween(a, b);
  if (wire.sourceWire() != nullptr) toggle(graph.wires, *wire.sourceWire());
  if (wire.monitorWire() != nullptr) toggle(graph.monitorWires, *wire.monitorWire());
}

void deleteWire(DeviceGraph& graph, const WireSelection& selection) {
  if (selection.sourceWire() != nullptr) std::erase(graph.wires, *selection.sourceWire());
  if (selection.monitorWire() != nullptr) std::erase(graph.monitorWires, *selection.monitorWire());
}

}  // namespace brindlemux
