#include "editor/port_order.h"

#include <algorithm>
#include <cmath>

#include "editor/drop_search.h"

namespace brindlemux {
namespace {

/// Ports of one column may stand this far apart from left to right.
constexpr double columnTolerance = 1;

bool isInColumn(QPointF a, QPointF b) { return std::abs(a.x() - b.x()) <= columnTolerance; }

}  // namespace

std::vector<PortID> compatiblePorts(const PortPositions& positions, const PortID& from) {
  std::vector<PortID> ports;
  for (const auto& [port, position] : positions) {
    if (arePortsCompatible(from, port)) ports.push_back(port);
  }
  std::ranges::sort(ports, [&](const PortID& a, const PortID& b) {
    const QPointF left = positions.at(a);
    const QPointF right = positions.at(b);
    return isInColumn(left, right) ? left.y() < right.y() : left.x() < right.x();
  });
  return ports;
}

std::optional<PortID> portBeside(const PortPositions& positions, const PortID& from, Direction direction) {
  const auto start = positions.find(from);
  if (start == positions.end()) return std::nullopt;
  const QPointF origin = start->second;
  const bool isAcross = direction == Direction::left || direction == Direction::right;
  const double sign = direction == Direction::left || direction == Direction::up ? -1 : 1;

  // How far away a port is: in another column first by the column, then by the height.
  struct Away {
    double first = 0;
    double second = 0;
  };
  std::optional<PortID> best;
  Away least;
  for (const auto& [port, position] : positions) {
    if (!takesWires(port) || port == from) continue;
    const QPointF offset = position - origin;
    const double ahead = sign * (isAcross ? offset.x() : offset.y());
    if (ahead <= columnTolerance / 2) continue;
    if (isInColumn(position, origin) == isAcross) continue;
    const Away away{ahead, std::abs(isAcross ? offset.y() : offset.x())};
    const bool isNearer = away.first < least.first - columnTolerance ||
                          (away.first <= least.first + columnTolerance && away.second < least.second);
    if (best && !isNearer) continue;
    best = port;
    least = away;
  }
  return best;
}

}  // namespace brindlemux
