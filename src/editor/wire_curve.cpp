#include "editor/wire_curve.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace brindlemux {
namespace {

constexpr int hitSegments = 24;

}  // namespace

WireCurve WireCurve::between(QPointF from, QPointF to) noexcept {
  const double handle = std::max(std::abs(to.x() - from.x()) * 0.5, minimumHandle);
  return {from, {from.x() + handle, from.y()}, {to.x() - handle, to.y()}, to};
}

QPointF WireCurve::at(double t) const noexcept {
  const double u = 1 - t;
  return u * u * u * start + 3 * u * u * t * startControl + 3 * u * t * t * endControl + t * t * t * end;
}

SegmentDistance SegmentDistance::of(QPointF point, QPointF from, QPointF to) noexcept {
  const QPointF along = to - from;
  const double squaredLength = QPointF::dotProduct(along, along);
  const double at =
      squaredLength > 0 ? std::clamp(QPointF::dotProduct(point - from, along) / squaredLength, 0.0, 1.0) : 0;
  const QPointF away = point - (from + at * along);
  return {std::hypot(away.x(), away.y()), at};
}

double distanceToWire(QPointF point, QPointF from, QPointF to) noexcept {
  const WireCurve curve = WireCurve::between(from, to);
  double nearest = std::numeric_limits<double>::max();
  QPointF previous = from;
  for (int i = 1; i <= hitSegments; ++i) {
    const QPointF next = curve.at(static_cast<double>(i) / hitSegments);
    nearest = std::min(nearest, SegmentDistance::of(point, previous, next).distance);
    previous = next;
  }
  return nearest;
}

}  // namespace brindlemux
