#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QtQmlIntegration/qqmlintegration.h>

#include "editor/graph_layout_model.h"
#include "editor/port_id.h"

namespace brindlemux {

/// Tells the layout model where a port is: the centre of this item. A child of the port's view that fills it.
///
/// Threads: the main thread.
class PortAnchor : public QQuickItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::PortID port READ port WRITE setPort NOTIFY portChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::GraphLayoutModel* layout READ layout WRITE setLayout NOTIFY layoutChanged REQUIRED FINAL)

 public:
  explicit PortAnchor(QQuickItem* parent = nullptr) : QQuickItem(parent) {}
  ~PortAnchor() override;

  const PortID& port() const noexcept { return port_; }
  void setPort(const PortID& port);
  GraphLayoutModel* layout() const { return layout_; }
  void setLayout(GraphLayoutModel* layout);

 Q_SIGNALS:
  void portChanged();
  void layoutChanged();

 private:
  PortID port_;
  QPointer<GraphLayoutModel> layout_;
};

}  // namespace brindlemux
