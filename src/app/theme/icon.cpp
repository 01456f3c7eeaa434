#include "app/theme/icon.h"

#include <QImageReader>
#include <QtMath>

namespace brindlemux {

void Icon::setName(const QString& name) {
  if (name_ == name) return;
  name_ = name;
  redraw();
  Q_EMIT nameChanged();
}

void Icon::setSize(qreal size) {
  if (size_ == size) return;
  size_ = size;
  setImplicitSize(size, size);
  Q_EMIT sizeChanged();
}

void Icon::setColor(const QColor& color) {
  if (color_ == color) return;
  color_ = color;
  redraw();
  Q_EMIT colorChanged();
}

QImage Icon::draw(qreal pixelRatio) const {
  if (name_.isEmpty()) return {};
  QImageReader reader(QStringLiteral(":/qt-project.org/imports/Brindlemux/Theme/icons/%1.svg").arg(name_));
  reader.setScaledSize({qCeil(width() * pixelRatio), qCeil(height() * pixelRatio)});
  QImage image = reader.read().convertToFormat(QImage::Format_ARGB32_Premultiplied);
  if (image.isNull()) {
    qWarning("The symbol %s cannot be drawn: %s", qPrintable(name_), qPrintable(reader.errorString()));
    return image;
  }
  for (int y = 0; y < image.height(); ++y) {
    auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      // Of a premultiplied grey the part that is not white is the part that is painted.
      const int painted = qAlpha(line[x]) - qRed(line[x]);
      line[x] = qPremultiply(qRgba(color_.red(), color_.green(), color_.blue(), painted * color_.alpha() / 255));
    }
  }
  return image;
}

}  // namespace brindlemux
