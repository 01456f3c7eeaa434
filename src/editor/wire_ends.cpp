#include "editor/wire_ends.h"

namespace brindlemux {

std::optional<WireEnds> wireEnds(const PortPositions& positions, const PortID& from, const PortID& to) {
  const auto start = positions.find(from);
  const auto end = positions.find(to);
  if (start == positions.end() || end == positions.end()) return std::nullopt;
  return WireEnds{start->second, end->second};
}

std::optional<WireEnds> wireEnds(const PortPositions& positions, const SourceWire& wire) {
  return wireEnds(positions, PortID::sourceOut(wire.sourceID, wire.sourceChannel),
                  PortID::outputIn(wire.outputChannel));
}

std::optional<WireEnds> wireEnds(const PortPositions& positions, const MonitorWire& wire) {
  return wireEnds(positions, PortID::outputOut(wire.outputChannel),
                  PortID::monitorIn(wire.monitorID, wire.monitorChannel));
}

std::optional<WireEnds> passThruWireEnds(const PortPositions& positions, std::int64_t channel) {
  return wireEnds(positions, PortID::passThruOut(channel), PortID::outputIn(channel));
}

}  // namespace brindlemux
