#pragma once

#include <QColor>
#include <QString>

#include "app/theme/drawn_item.h"

namespace brindlemux {

/// A symbol of the `icons` folder in one colour. In the drawings black paints and white leaves out. A symbol that is
/// not there draws nothing and says so in the log; an empty name draws nothing.
///
/// Units:   `size` in device-independent pixels, the side of a square, which is the implicit size.
/// Threads: the main thread.
// The full name of the base, as the tools for QML look it up.
class Icon : public brindlemux::DrawnItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(QString name READ name WRITE setName NOTIFY nameChanged REQUIRED FINAL)
  Q_PROPERTY(qreal size READ size WRITE setSize NOTIFY sizeChanged REQUIRED FINAL)
  Q_PROPERTY(QColor color READ color WRITE setColor NOTIFY colorChanged FINAL)

 public:
  using DrawnItem::DrawnItem;

  QString name() const { return name_; }
  void setName(const QString& name);
  qreal size() const noexcept { return size_; }
  void setSize(qreal size);
  QColor color() const { return color_; }
  void setColor(const QColor& color);

 Q_SIGNALS:
  void nameChanged();
  void sizeChanged();
  void colorChanged();

 protected:
  QImage draw(qreal pixelRatio) const override;

 private:
  QString name_;
  qreal size_ = 0;
  QColor color_ = Qt::white;
};

}  // namespace brindlemux
