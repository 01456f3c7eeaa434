#pragma once

#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QQuickItem>
#include <QtQmlIntegration/qqmlintegration.h>
#include <optional>
#include <unordered_map>
#include <vector>

#include "editor/port_id.h"

namespace brindlemux {

class PortAnchor;

/// Where each port's centre is, in canvas coordinates.
using PortPositions = std::unordered_map<PortID, QPointF>;

/// The places of a canvas' ports. They follow from where the port views are, are read again in every frame after all
/// items have their places and before anything is drawn, and are kept nowhere else.
///
/// Lifetime: one per canvas. Anchors register themselves and leave by themselves.
/// Threads: the main thread.
class GraphLayoutModel : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QQuickItem* space READ space WRITE setSpace NOTIFY spaceChanged FINAL)

 public:
  using QObject::QObject;

  /// The item whose coordinates the positions are in: the canvas' content.
  QQuickItem* space() const { return space_; }
  void setSpace(QQuickItem* space);

  /// A port that is not shown, or not within the space, has no entry; one that is scrolled out of sight has.
  const PortPositions& positions() const noexcept { return positions_; }
  std::optional<QPointF> position(const PortID& port) const;

  /// The view of a port, or none.
  QQuickItem* view(const PortID& port) const;
  /// The port that an item is the view of, or none.
  std::optional<PortID> port(const QQuickItem* view) const;

  void add(PortAnchor& anchor);
  void remove(PortAnchor& anchor);

  /// Reads every anchor's place.
  void refresh();

 Q_SIGNALS:
  void spaceChanged();
  void positionsChanged();

 private:
  void follow(QQuickWindow* window);

  QPointer<QQuickItem> space_;
  QMetaObject::Connection frames_;
  std::vector<PortAnchor*> anchors_;
  PortPositions positions_;
};

}  // namespace brindlemux
