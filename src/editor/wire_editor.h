#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

#include "app/controller/app_state.h"
#include "editor/graph_layout_model.h"
#include "editor/wire_selection.h"

namespace brindlemux {

/// The edits that a canvas makes to the wires of one device, and the wire under a point. Every edit is written to the
/// graphs file at once. What is asked of a device or a node that is gone is ignored.
///
/// Threads: the main thread. Borrows the controller and the layout.
class WireEditor : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState MEMBER appState_ NOTIFY targetChanged REQUIRED FINAL)
  Q_PROPERTY(QString deviceUID MEMBER deviceUID_ NOTIFY targetChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::GraphLayoutModel* layout MEMBER layout_ NOTIFY targetChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::WireSelection none READ none CONSTANT FINAL)

 public:
  using QObject::QObject;

  static WireSelection none() { return {}; }
  Q_INVOKABLE static bool isSame(const brindlemux::WireSelection& a, const brindlemux::WireSelection& b) {
    return a == b;
  }

  AppState* appState() const { return appState_; }
  GraphLayoutModel* layout() const { return layout_; }
  /// Where the ports are; empty without a layout.
  const PortPositions& positions() const;
  bool isDevicePresent() const;
  /// Whether a card has this port: its node is in the graph.
  bool isPortPresent(const PortID& port) const;

  /// Whether there is a wire between two ports.
  bool isConnected(const PortID& a, const PortID& b) const;

  /// Toggles the wire between two ports, named in either order.
  Q_INVOKABLE void connectPorts(const brindlemux::PortID& a, const brindlemux::PortID& b);
  /// Removes the wire. The caller clears a selection of it.
  Q_INVOKABLE void deleteWire(const brindlemux::WireSelection& wire);
  /// The wire at a point in canvas coordinates, or none.
  Q_INVOKABLE brindlemux::WireSelection wireHit(QPointF point) const;

 Q_SIGNALS:
  void targetChanged();

 private:
  QPointer<AppState> appState_;
  QString deviceUID_;
  QPointer<GraphLayoutModel> layout_;
};

}  // namespace brindlemux
