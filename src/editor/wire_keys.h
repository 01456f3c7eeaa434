#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QtQmlIntegration/qqmlintegration.h>
#include <vector>

#include "editor/port_order.h"
#include "editor/wire_drag.h"

namespace brindlemux {

/// Wiring with the keyboard: a drag whose end steps from one compatible port to the next.
///
/// Enter on a port begins, the arrow keys and Tab step, Enter connects or disconnects. Without a wire in hand the arrow
/// keys step from port to port.
///
/// Threads: the main thread. Borrows the drag.
class WireKeys : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::WireDrag* drag READ drag WRITE setDrag NOTIFY dragChanged REQUIRED FINAL)
  Q_PROPERTY(bool active READ isActive NOTIFY changed FINAL)
  /// The view of the port where the wire would end.
  Q_PROPERTY(QQuickItem* targetView READ targetView NOTIFY changed FINAL)

 public:
  using QObject::QObject;

  WireDrag* drag() const { return drag_; }
  void setDrag(WireDrag* drag);

  bool isActive() const noexcept { return from_.has_value(); }
  const std::optional<PortID>& target() const noexcept { return target_; }
  QQuickItem* targetView() const;

  /// Takes a wire from this port to the compatible one at the nearest height. Returns false when there is
  /// no port that it could lead to.
  Q_INVOKABLE bool begin(const brindlemux::PortID& port);
  /// A key while a wire is in hand. Returns whether it had a meaning.
  Q_INVOKABLE bool press(int key);
  /// Gives up the wire.
  Q_INVOKABLE void cancel();
  /// An arrow key while no wire is in hand: gives the focus to the port beside the one that has it. Returns whether
  /// there was any.
  Q_INVOKABLE bool moveFocus(int key, QQuickItem* focused);

 Q_SIGNALS:
  void dragChanged();
  void changed();

 private:
  void step(int by);
  void aim(const PortID& port);
  void finish();
  void followDrag();
  const PortPositions& positions() const;

  QPointer<WireDrag> drag_;
  std::optional<PortID> from_;
  std::optional<PortID> target_;
};

}  // namespace brindlemux
