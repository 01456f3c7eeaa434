#pragma once

#include "editor/port_id.h"
#include "editor/wire_selection.h"
#include "model/device_graph.h"

namespace brindlemux {

/// Toggles the wire between two ports, named in either order: removes every wire equal to it, or else appends it.
/// Ports that are not compatible leave the graph as it is.
void connect(DeviceGraph& graph, const PortID& a, const PortID& b);

/// Removes every wire equal to the selected one.
void deleteWire(DeviceGraph& graph, const WireSelection& selection);

/// The wire that `connect` would toggle, or none.
WireSelection wireBetween(const PortID& a, const PortID& b);

}  // namespace brindlemux
