#include "editor/drop_search.h"

#include <cmath>

namespace brindlemux {
namespace {

using Kind = PortID::Kind;

bool leadsTo(Kind from, Kind to) noexcept {
  return (from == Kind::sourceOut && to == Kind::outputIn) || (from == Kind::outputOut && to == Kind::monitorIn);
}

}  // namespace

bool arePortsCompatible(const PortID& a, const PortID& b) noexcept {
  return leadsTo(a.kind(), b.kind()) || leadsTo(b.kind(), a.kind());
}

bool takesWires(const PortID& port) noexcept { return port.kind() != Kind::passThruOut; }

std::optional<PortID> dropTarget(const PortPositions& positions, const PortID& from, QPointF point) {
  std::optional<PortID> nearest;
  double reach = dropReach;
  for (const auto& [port, position] : positions) {
    if (!arePortsCompatible(from, port)) continue;
    const double distance = std::hypot(position.x() - point.x(), position.y() - point.y());
    if (distance >= reach) continue;
    reach = distance;
    nearest = port;
  }
  return nearest;
}

}  // namespace brindlemux
