#pragma once

#include <QObject>
#include <QPointer>
#include <QQuickItem>
#include <QtQmlIntegration/qqmlintegration.h>
#include <optional>

#include "editor/wire_editor.h"
#include "editor/wire_ends.h"

namespace brindlemux {

/// A drag from a port, from the first move until the release, and what it connects.
///
/// It ends without an edit when it is cancelled, when its port goes, and when the device goes; what the pointer does
/// until it is released is then ignored.
///
/// Threads: the main thread. Borrows the editor.
class WireDrag : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::WireEditor* editor READ editor WRITE setEditor NOTIFY editorChanged REQUIRED FINAL)
  Q_PROPERTY(bool active READ isActive NOTIFY changed FINAL)
  Q_PROPERTY(brindlemux::PortID from READ from NOTIFY changed FINAL)
  /// The view of the port where the drag began.
  Q_PROPERTY(QQuickItem* fromView READ fromView NOTIFY changed FINAL)
  /// Whether a release at this moment would connect, and where.
  Q_PROPERTY(bool hasTarget READ hasTarget NOTIFY changed FINAL)
  Q_PROPERTY(QPointF targetPoint READ targetPoint NOTIFY changed FINAL)
  /// Whether what it would connect is connected: the release would disconnect it.
  Q_PROPERTY(bool disconnects READ disconnects NOTIFY changed FINAL)

 public:
  using QObject::QObject;

  WireEditor* editor() const { return editor_; }
  void setEditor(WireEditor* editor);

  bool isActive() const noexcept { return state_.has_value(); }
  PortID from() const { return state_ ? state_->from : PortID(); }
  QQuickItem* fromView() const { return state_ ? viewOf(state_->from) : nullptr; }
  std::optional<PortID> target() const;
  bool hasTarget() const { return target().has_value(); }
  QPointF targetPoint() const;
  bool disconnects() const;
  /// From the dragged port to the pointer; none while the port has no position.
  std::optional<WireEnds> line() const;

  /// Where the ports are, and their views.
  const PortPositions& positions() const;
  QQuickItem* viewOf(const PortID& port) const;
  std::optional<PortID> portOf(const QQuickItem* view) const;

  /// What a port's view reports; points are in canvas coordinates.
  Q_INVOKABLE void portDragChanged(const brindlemux::PortID& port, QPointF point);
  Q_INVOKABLE void portDragEnded(const brindlemux::PortID& port, QPointF point);
  /// The view lost the pointer.
  Q_INVOKABLE void portDragCancelled(const brindlemux::PortID& port);
  /// Ends the drag while the pointer is down.
  Q_INVOKABLE void cancel();
  /// Ends the drag where no pointer is down.
  void abandon() { end(); }

 Q_SIGNALS:
  void editorChanged();
  void changed();

 private:
  struct State {
    PortID from;
    QPointF point;
  };

  void endIfPortIsGone();
  void endIfDeviceIsGone();
  void end();

  QPointer<WireEditor> editor_;
  std::optional<State> state_;
  /// The port of a drag that was cancelled while the pointer is still down.
  std::optional<PortID> cancelled_;
};

}  // namespace brindlemux
