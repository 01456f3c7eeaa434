#include "app/theme/drawn_item.h"

#include <QQuickWindow>
#include <QSGImageNode>
#include <memory>

namespace brindlemux {

DrawnItem::DrawnItem(QQuickItem* parent) : QQuickItem(parent) { setFlag(ItemHasContents); }

void DrawnItem::redraw() {
  isStale_ = true;
  update();
}

void DrawnItem::itemChange(ItemChange change, const ItemChangeData& data) {
  if (change == ItemDevicePixelRatioHasChanged) redraw();
  QQuickItem::itemChange(change, data);
}

void DrawnItem::geometryChange(const QRectF& geometry, const QRectF& before) {
  if (geometry.size() != before.size()) redraw();
  QQuickItem::geometryChange(geometry, before);
}

QSGNode* DrawnItem::updatePaintNode(QSGNode* node, UpdatePaintNodeData*) {
  std::unique_ptr<QSGImageNode> image(static_cast<QSGImageNode*>(node));
  if (std::exchange(isStale_, false) || !image) {
    const QImage picture = width() > 0 && height() > 0 ? draw(window()->effectiveDevicePixelRatio()) : QImage();
    if (picture.isNull()) return nullptr;
    if (!image) image.reset(window()->createImageNode());
    image->setOwnsTexture(true);
    const auto options =
        QQuickWindow::CreateTextureOptions(QQuickWindow::TextureHasAlphaChannel) | QQuickWindow::TextureCanUseAtlas;
    image->setTexture(window()->createTextureFromImage(picture, options));
    image->setFiltering(QSGTexture::Linear);
  }
  image->setRect(boundingRect());
  return image.release();
}

}  // namespace brindlemux
