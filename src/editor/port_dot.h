#pragma once

#include <QColor>
#include <QtQmlIntegration/qqmlintegration.h>

#include "app/theme/drawn_item.h"

namespace brindlemux {

/// The round of a port: 13 across, in the middle of the item, which is larger for the glow of a connected one.
///
/// Threads: the main thread.
// The full name of the base, as the tools for QML look it up.
class PortDot : public brindlemux::DrawnItem {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(bool connected MEMBER connected_ NOTIFY changed FINAL)
  /// The middle of a connected port, and its rim, outline and glow.
  Q_PROPERTY(QColor light MEMBER light_ NOTIFY changed FINAL)
  Q_PROPERTY(QColor rim MEMBER rim_ NOTIFY changed FINAL)
  /// The inside of an unconnected port, and its outline.
  Q_PROPERTY(QColor ground MEMBER ground_ NOTIFY changed FINAL)
  Q_PROPERTY(QColor outline MEMBER outline_ NOTIFY changed FINAL)

 public:
  explicit PortDot(QQuickItem* parent = nullptr);

 Q_SIGNALS:
  void changed();

 protected:
  QImage draw(qreal pixelRatio) const override;

 private:
  bool connected_ = false;
  QColor light_;
  QColor rim_;
  QColor ground_;
  QColor outline_;
};

}  // namespace brindlemux
