#include "editor/port_dot.h"

#include <QPainter>
#include <QRadialGradient>
#include <QtMath>

namespace brindlemux {
namespace {

constexpr qreal diameter = 13;
constexpr qreal outlineWidth = 1.5;
/// How far the gradient of a connected port reaches from its centre.
constexpr qreal gradientRadius = 7;
constexpr qreal glowOpacity = 0.55;
constexpr qreal glowReach = 7;

QColor withOpacity(QColor color, qreal opacity) {
  color.setAlphaF(color.alphaF() * static_cast<float>(opacity));
  return color;
}

/// The blurred shadow of a lit disc: half as bright at the disc's edge, gone where the blur ends.
QRadialGradient glow(const QColor& color) {
  constexpr qreal reach = diameter / 2 + glowReach;
  QRadialGradient gradient({}, reach);
  gradient.setColorAt(0, withOpacity(color, glowOpacity));
  gradient.setColorAt((diameter / 2 - 2) / reach, withOpacity(color, glowOpacity * 0.85));
  gradient.setColorAt(diameter / 2 / reach, withOpacity(color, glowOpacity * 0.5));
  gradient.setColorAt((diameter / 2 + 3) / reach, withOpacity(color, glowOpacity * 0.15));
  gradient.setColorAt(1, withOpacity(color, 0));
  return gradient;
}

}  // namespace

PortDot::PortDot(QQuickItem* parent) : DrawnItem(parent) {
  setImplicitSize(diameter + 2 * glowReach, diameter + 2 * glowReach);
  connect(this, &PortDot::changed, this, &PortDot::redraw);
}

QImage PortDot::draw(qreal pixelRatio) const {
  QImage image(qCeil(width() * pixelRatio), qCeil(height() * pixelRatio), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(pixelRatio, pixelRatio);
  painter.translate(width() / 2, height() / 2);

  QRectF disc(-diameter / 2, -diameter / 2, diameter, diameter);
  if (connected_) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(glow(rim_));
    painter.drawEllipse(disc.marginsAdded({glowReach, glowReach, glowReach, glowReach}));
    QRadialGradient fill({}, gradientRadius);
    fill.setColorAt(0, light_);
    fill.setColorAt(1, rim_);
    painter.setBrush(fill);
  } else {
    painter.setBrush(ground_);
  }
  painter.setPen(QPen(connected_ ? rim_ : outline_, outlineWidth));
  constexpr qreal inset = outlineWidth / 2;
  painter.drawEllipse(disc.marginsRemoved({inset, inset, inset, inset}));
  return image;
}

}  // namespace brindlemux
