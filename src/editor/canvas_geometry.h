#pragma once

#include <QObject>
#include <QtQmlIntegration/qqmlintegration.h>

namespace brindlemux {

/// Where the columns of the canvas are, from what of it can be seen. All lengths are points; the columns' places are
/// whole ones, so that text in them is sharp.
///
/// Threads: the main thread.
class CanvasGeometry : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(double visibleWidth MEMBER visibleWidth_ NOTIFY changed FINAL)
  Q_PROPERTY(double visibleHeight MEMBER visibleHeight_ NOTIFY changed FINAL)
  /// The height of the tallest column.
  Q_PROPERTY(double columnHeight MEMBER columnHeight_ NOTIFY changed FINAL)
  Q_PROPERTY(double contentWidth READ contentWidth NOTIFY changed FINAL)
  Q_PROPERTY(double contentHeight READ contentHeight NOTIFY changed FINAL)
  Q_PROPERTY(double outputX READ outputX NOTIFY changed FINAL)
  Q_PROPERTY(double monitorsX READ monitorsX NOTIFY changed FINAL)
  Q_PROPERTY(double padding READ padding CONSTANT FINAL)
  Q_PROPERTY(double spacing READ spacing CONSTANT FINAL)
  Q_PROPERTY(double sideWidth READ sideWidth CONSTANT FINAL)
  Q_PROPERTY(double outputWidth READ outputWidth CONSTANT FINAL)

 public:
  static constexpr double minimumWidth = 920;
  static constexpr double minimumHeight = 560;
  static constexpr double minimumGap = 56;

  using QObject::QObject;

  /// Around the row of columns on all sides.
  static double padding() noexcept { return 32; }
  /// Between the items of a column.
  static double spacing() noexcept { return 14; }
  /// Of the sources' and the monitors' column.
  static double sideWidth() noexcept { return 256; }
  static double outputWidth() noexcept { return 232; }

  double contentWidth() const noexcept;
  double contentHeight() const noexcept;
  /// The left edge of the output column; the sources' is at `padding`.
  double outputX() const noexcept;
  double monitorsX() const noexcept;

 Q_SIGNALS:
  void changed();

 private:
  double visibleWidth_ = 0;
  double visibleHeight_ = 0;
  double columnHeight_ = 0;
};

}  // namespace brindlemux
