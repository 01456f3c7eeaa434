#pragma once

#include <QPointF>

#include "editor/graph_layout_model.h"
#include "editor/wire_selection.h"
#include "model/device_graph.h"

namespace brindlemux {

/// A click hits a wire that is nearer than this.
inline constexpr double hitReach = 9;

/// The wire under a point in canvas coordinates: the nearest within reach, the earlier in the graph's lists among
/// equally near ones, sources before monitors. Pass-through wires are not hit.
WireSelection wireHit(const DeviceGraph& graph, const PortPositions& positions, QPointF point);

}  // namespace brindlemux
