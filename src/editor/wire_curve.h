#pragma once

#include <QPointF>

namespace brindlemux {

/// The curve of a wire: a cubic Bézier curve that leaves its start to the right and enters its end from the left, also
/// when the end lies left of the start.
struct WireCurve {
  /// The control points lie at least this far beside the ends.
  static constexpr double minimumHandle = 48;

  QPointF start;
  QPointF startControl;
  QPointF endControl;
  QPointF end;

  static WireCurve between(QPointF from, QPointF to) noexcept;

  /// The point at t of 0 to 1.
  QPointF at(double t) const noexcept;
};

/// How far `point` is from the line segment, and where on it the nearest point is, 0 to 1.
struct SegmentDistance {
  double distance = 0;
  double at = 0;
  static SegmentDistance of(QPointF point, QPointF from, QPointF to) noexcept;
};

/// The shortest distance from `point` to the wire between two ports. Within a fraction of a point: the curve is taken
/// as 24 straight segments.
double distanceToWire(QPointF point, QPointF from, QPointF to) noexcept;

}  // namespace brindlemux
