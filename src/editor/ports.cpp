#include "editor/ports.h"

namespace brindlemux {
namespace {

UUID node(const QString& text) { return UUID::parse(text.toStdString()).value_or(UUID{}); }

}  // namespace

PortID Ports::sourceOut(const QString& sourceID, int channel) { return PortID::sourceOut(node(sourceID), channel); }

PortID Ports::monitorIn(const QString& monitorID, int channel) { return PortID::monitorIn(node(monitorID), channel); }

}  // namespace brindlemux
