#pragma once

#include <QImage>
#include <QQuickItem>
#include <QtQmlIntegration/qqmlintegration.h>

namespace brindlemux {

/// An item with a picture of its own, drawn sharp at whatever scale the window has, on every renderer.
///
/// Threads: the main thread, but for `draw`, which the thread of the renderer calls while the main thread waits.
class DrawnItem : public QQuickItem {
  Q_OBJECT
  QML_ANONYMOUS

 public:
  explicit DrawnItem(QQuickItem* parent = nullptr);

 protected:
  /// The item's picture, `pixelRatio` pixels to each unit of its size; a null image draws nothing.
  virtual QImage draw(qreal pixelRatio) const = 0;
  /// What the picture shows has changed.
  void redraw();

  QSGNode* updatePaintNode(QSGNode* node, UpdatePaintNodeData* data) override;
  void itemChange(ItemChange change, const ItemChangeData& data) override;
  void geometryChange(const QRectF& geometry, const QRectF& before) override;

 private:
  bool isStale_ = true;
};

}  // namespace brindlemux
