#pragma once

#include <optional>
#include <vector>

#include "editor/graph_layout_model.h"
#include "editor/port_id.h"

namespace brindlemux {

enum class Direction { left, right, up, down };

/// The ports that a wire from this one may lead to, column by column from top to bottom.
std::vector<PortID> compatiblePorts(const PortPositions& positions, const PortID& from);

/// The port that an arrow key leads to: the next in the same column, or the one at about the same height in the next
/// column that has any. Ports that take no wires are passed over.
std::optional<PortID> portBeside(const PortPositions& positions, const PortID& from, Direction direction);

}  // namespace brindlemux
