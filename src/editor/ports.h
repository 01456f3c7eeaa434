#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

#include "editor/port_id.h"

namespace brindlemux {

/// Makes port identifiers in QML, where node identifiers are text: `Ports.sourceOut(source.id, channel)`. Text that is
/// no identifier makes the port of a node that does not exist.
class Ports : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON

 public:
  using QObject::QObject;

  Q_INVOKABLE static brindlemux::PortID sourceOut(const QString& sourceID, int channel);
  Q_INVOKABLE static brindlemux::PortID outputIn(int channel) { return PortID::outputIn(channel); }
  Q_INVOKABLE static brindlemux::PortID outputOut(int channel) { return PortID::outputOut(channel); }
  Q_INVOKABLE static brindlemux::PortID monitorIn(const QString& monitorID, int channel);
  Q_INVOKABLE static brindlemux::PortID passThruOut(int channel) { return PortID::passThruOut(channel); }
};

}  // namespace brindlemux
