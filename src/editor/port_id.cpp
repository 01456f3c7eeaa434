#include "editor/port_id.h"

#include "model/hash_combine.h"

namespace brindlemux {

QString PortID::nodeID() const {
  return kind_ == Kind::sourceOut || kind_ == Kind::monitorIn ? QString::fromStdString(node_.string()) : QString();
}

bool PortID::isOutput() const noexcept { return kind_ != Kind::outputIn && kind_ != Kind::monitorIn; }

}  // namespace brindlemux

std::size_t std::hash<brindlemux::PortID>::operator()(const brindlemux::PortID& port) const noexcept {
  return brindlemux::hashOf(static_cast<int>(port.kind()), port.node(), port.channel());
}
