#pragma once

#include <QPointF>
#include <cstdint>
#include <optional>

#include "editor/graph_layout_model.h"
#include "model/device_graph.h"

namespace brindlemux {

/// Where a wire starts and ends, in canvas coordinates.
struct WireEnds {
  QPointF from;
  QPointF to;
  friend bool operator==(const WireEnds&, const WireEnds&) = default;
};

/// The ends of a wire; none while either port has no position.
std::optional<WireEnds> wireEnds(const PortPositions& positions, const PortID& from, const PortID& to);
std::optional<WireEnds> wireEnds(const PortPositions& positions, const SourceWire& wire);
std::optional<WireEnds> wireEnds(const PortPositions& positions, const MonitorWire& wire);
/// The wire of the pass-through card's channel.
std::optional<WireEnds> passThruWireEnds(const PortPositions& positions, std::int64_t channel);

}  // namespace brindlemux
