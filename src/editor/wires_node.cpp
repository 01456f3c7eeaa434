#include "editor/wires_node.h"

#include <QQuickWindow>
#include <algorithm>
#include <cmath>

namespace brindlemux {
namespace {

bool flows(const std::vector<DrawnWire>& wires) {
  return std::ranges::any_of(wires, [](const DrawnWire& wire) { return wire.flow.has_value(); });
}

}  // namespace

void WiresNode::show(const DrawnWires& wires, const QRectF& visible, double phase, WirePainter& painter,
                     const WirePalette& palette, QQuickWindow& window) {
  const double scale = painter.scale();
  const QRect pixels = QRectF(visible.topLeft() * scale, visible.size() * scale).toAlignedRect();
  const std::array lists{&wires.toOutput, &wires.fromOutput, &wires.drag};
  for (std::size_t i = 0; i < lists.size(); ++i)
    show(pictures_.at(i), *lists.at(i), pixels, phase, painter, palette, window);
}

void WiresNode::show(Picture& picture, const std::vector<DrawnWire>& wires, const QRect& visible, double phase,
                     WirePainter& painter, const WirePalette& palette, QQuickWindow& window) {
  const QRect area = painter.bounds(wires) & visible;
  if (area.isEmpty()) {
    hide(picture);
    return;
  }
  const bool isSame = picture.node != nullptr && picture.area == area && picture.scale == painter.scale() &&
                      picture.wires == wires && picture.palette == palette && (picture.phase == phase || !flows(wires));
  if (isSame) return;
  const QImage image = painter.paint(wires, area, phase);
  std::unique_ptr<QSGTexture> texture(window.createTextureFromImage(image, QQuickWindow::TextureHasAlphaChannel));
  const bool isAdded = picture.node == nullptr;
  if (isAdded) {
    picture.node = window.createImageNode();
    picture.node->setFlag(QSGNode::OwnedByParent);
  }
  const double scale = painter.scale();
  picture.node->setTexture(texture.get());
  picture.node->setRect(QRectF(QPointF(area.topLeft()) / scale, QSizeF(area.size()) / scale));
  picture.node->setSourceRect(QRectF(QPointF(), QSizeF(area.size())));
  picture.node->setFiltering(QSGTexture::Linear);
  // The software renderer asks a node for its texture as soon as it is in the tree.
  if (isAdded) add(picture);
  picture.texture = std::move(texture);
  picture.wires = wires;
  picture.area = area;
  picture.phase = phase;
  picture.scale = scale;
  picture.palette = palette;
}

void WiresNode::add(Picture& picture) {
  // The pictures keep their order, which is that of their drawing.
  const auto next = std::find_if(pictures_.begin(), pictures_.end(),
                                 [&](const Picture& other) { return &other > &picture && other.node != nullptr; });
  if (next != pictures_.end()) {
    insertChildNodeBefore(picture.node, next->node);
  } else {
    appendChildNode(picture.node);
  }
}

void WiresNode::hide(Picture& picture) {
  if (picture.node != nullptr) {
    removeChildNode(picture.node);
    delete picture.node;
  }
  picture = {};
}

}  // namespace brindlemux
