#pragma once

#include <QObject>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

#include "editor/node_texts.h"

namespace brindlemux {

/// What the cards ask about a figure that they show. Levels and gains are 32-bit values; QML holds them widened, so
/// they are narrowed again before they are compared.
class CardFigures : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_SINGLETON
  /// The range of a gain slider, from 0, and the gain that changes nothing.
  Q_PROPERTY(double maximumGain READ maximumGain CONSTANT FINAL)
  Q_PROPERTY(double unityGain READ unityGain CONSTANT FINAL)

 public:
  using QObject::QObject;

  static constexpr double maximumGain() { return 4.0; }
  static constexpr double unityGain() { return 1.0; }

  Q_INVOKABLE static QString gainText(double gain) {
    return QString::fromStdString(brindlemux::gainText(static_cast<float>(gain)));
  }
  /// Whether a peak is so near full scale that the meter warns.
  Q_INVOKABLE static bool isHot(double level) { return static_cast<float>(level) > 0.98F; }
};

}  // namespace brindlemux
