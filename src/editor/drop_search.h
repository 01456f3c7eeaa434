#pragma once

#include <QPointF>
#include <optional>

#include "editor/graph_layout_model.h"
#include "editor/port_id.h"

namespace brindlemux {

/// A drop snaps to a port that is nearer than this.
inline constexpr double dropReach = 30;

/// Whether a wire may run between two ports, named in either order: from a source to an output channel's input side, or
/// from an output channel's output side to a monitor.
bool arePortsCompatible(const PortID& a, const PortID& b) noexcept;

/// Whether any port at all is compatible with this one.
bool takesWires(const PortID& port) noexcept;

/// The compatible port nearest to the point where a drag from `from` ends, or none within reach. Of several at the same
/// distance any may be found.
std::optional<PortID> dropTarget(const PortPositions& positions, const PortID& from, QPointF point);

}  // namespace brindlemux
