#include "editor/wire_hit.h"

#include "editor/wire_curve.h"
#include "editor/wire_ends.h"

namespace brindlemux {

WireSelection wireHit(const DeviceGraph& graph, const PortPositions& positions, QPointF point) {
  WireSelection best;
  double reach = hitReach;
  const auto isNearer = [&](const std::optional<WireEnds>& ends) {
    if (!ends) return false;
    const double distance = distanceToWire(point, ends->from, ends->to);
    if (distance >= reach) return false;
    reach = distance;
    return true;
  };
  for (const SourceWire& wire : graph.wires) {
    if (isNearer(wireEnds(positions, wire))) best = WireSelection::source(wire);
  }
  for (const MonitorWire& wire : graph.monitorWires) {
    if (isNearer(wireEnds(positions, wire))) best = WireSelection::monitor(wire);
  }
  return best;
}

}  // namespace brindlemux
