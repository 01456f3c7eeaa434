#include "editor/wire_mask.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "editor/wire_curve.h"

namespace brindlemux {
namespace {

/// In pixels. Short enough for the polygon to pass for the curve, long enough for few pixels to be looked at twice.
constexpr double segmentLength = 4;

struct Nearest {
  float distance = std::numeric_limits<float>::max();
  /// In pixels.
  float along = 0;
};

/// The pixels of a row that any segment may come near to.
struct Row {
  int left = std::numeric_limits<int>::max();
  int right = std::numeric_limits<int>::min();
  std::size_t first = 0;
};

struct Segment {
  QPointF from;
  QPointF to;
  double start = 0;
  double length = 0;

  QRect near(double margin) const {
    const int left = static_cast<int>(std::floor(std::min(from.x(), to.x()) - margin));
    const int top = static_cast<int>(std::floor(std::min(from.y(), to.y()) - margin));
    const int right = static_cast<int>(std::ceil(std::max(from.x(), to.x()) + margin));
    const int bottom = static_cast<int>(std::ceil(std::max(from.y(), to.y()) + margin));
    return QRect(QPoint(left, top), QPoint(right, bottom));
  }
};

std::vector<Segment> flatten(const WireCurve& curve) {
  const auto distance = [](QPointF a, QPointF b) { return std::hypot(b.x() - a.x(), b.y() - a.y()); };
  const double atMost = distance(curve.start, curve.startControl) + distance(curve.startControl, curve.endControl) +
                        distance(curve.endControl, curve.end);
  const int count = std::clamp(static_cast<int>(atMost / segmentLength), 1, 4096);
  std::vector<Segment> segments;
  segments.reserve(static_cast<std::size_t>(count));
  QPointF from = curve.start;
  double start = 0;
  for (int i = 1; i <= count; ++i) {
    const QPointF to = curve.at(static_cast<double>(i) / count);
    const double length = distance(from, to);
    segments.push_back({from, to, start, length});
    from = to;
    start += length;
  }
  return segments;
}

/// The nearest point of the wire for every pixel around it, in rows.
class Field {
 public:
  Field(const std::vector<Segment>& segments, double margin) : top_(std::numeric_limits<int>::max()) {
    int bottom = std::numeric_limits<int>::min();
    for (const Segment& segment : segments) {
      const QRect near = segment.near(margin);
      top_ = std::min(top_, near.top());
      bottom = std::max(bottom, near.bottom());
    }
    const int height = bottom - top_ + 1;
    rows_.resize(static_cast<std::size_t>(height));
    for (const Segment& segment : segments) {
      const QRect near = segment.near(margin);
      for (int y = near.top(); y <= near.bottom(); ++y) {
        Row& row = rows_[static_cast<std::size_t>(y - top_)];
        row.left = std::min(row.left, near.left());
        row.right = std::max(row.right, near.right());
      }
    }
    std::size_t size = 0;
    for (Row& row : rows_) {
      row.first = size;
      size += static_cast<std::size_t>(row.right - row.left + 1);
    }
    pixels_.resize(size);
    for (const Segment& segment : segments) add(segment, segment.near(margin));
  }

  int top() const noexcept { return top_; }
  const std::vector<Row>& rows() const noexcept { return rows_; }
  const Nearest& at(const Row& row, int x) const noexcept {
    return pixels_[row.first + static_cast<std::size_t>(x - row.left)];
  }

 private:
  void add(const Segment& segment, const QRect& near) {
    const auto x0 = static_cast<float>(segment.from.x());
    const auto y0 = static_cast<float>(segment.from.y());
    const auto dx = static_cast<float>(segment.to.x()) - x0;
    const auto dy = static_cast<float>(segment.to.y()) - y0;
    const float squaredLength = dx * dx + dy * dy;
    const float perLength = squaredLength > 0 ? 1 / squaredLength : 0;
    const auto start = static_cast<float>(segment.start);
    const auto length = static_cast<float>(segment.length);
    for (int y = near.top(); y <= near.bottom(); ++y) {
      const Row& row = rows_[static_cast<std::size_t>(y - top_)];
      Nearest* pixel = &pixels_[row.first + static_cast<std::size_t>(near.left() - row.left)];
      const float toY = static_cast<float>(y) + 0.5F - y0;
      for (int x = near.left(); x <= near.right(); ++x, ++pixel) {
        const float toX = static_cast<float>(x) + 0.5F - x0;
        const float at = std::clamp((toX * dx + toY * dy) * perLength, 0.0F, 1.0F);
        const float awayX = toX - at * dx;
        const float awayY = toY - at * dy;
        const float squared = awayX * awayX + awayY * awayY;
        // Squares until the end: they order the same way.
        if (squared < pixel->distance) *pixel = {squared, start + at * length};
      }
    }
  }

  int top_;
  std::vector<Row> rows_;
  std::vector<Nearest> pixels_;
};

}  // namespace

int WireMask::distanceCount(double scale) noexcept {
  return static_cast<int>(std::ceil(reachInPixels(scale) * distanceSteps)) + 1;
}

WireMask::WireMask(const WireEnds& ends, double scale) {
  // The handles have a least length in points, so that the curve is made before it is scaled.
  WireCurve curve = WireCurve::between(ends.from, ends.to);
  for (QPointF* point : {&curve.start, &curve.startControl, &curve.endControl, &curve.end}) *point *= scale;
  const double margin = reachInPixels(scale);
  const Field field(flatten(curve), margin);
  const auto within = static_cast<float>(margin * margin);
  const auto alongPerPixel = static_cast<float>(alongSteps / scale);
  int y = field.top();
  for (const Row& row : field.rows()) {
    bool isInRun = false;
    for (int x = row.left; x <= row.right; ++x) {
      const Nearest& nearest = field.at(row, x);
      if (nearest.distance >= within) {
        isInRun = false;
        continue;
      }
      if (!isInRun) runs_.push_back({x, y, static_cast<std::uint32_t>(pixels_.size()), 0});
      isInRun = true;
      ++runs_.back().count;
      pixels_.push_back({static_cast<std::uint16_t>(std::min(nearest.along * alongPerPixel, 65535.0F)),
                         static_cast<std::uint16_t>(std::lround(std::sqrt(nearest.distance) * distanceSteps))});
    }
    ++y;
  }
}

QRect wireBounds(const WireEnds& ends, double scale) noexcept {
  const WireCurve curve = WireCurve::between(ends.from, ends.to);
  const auto [left, right] =
      std::minmax({curve.start.x(), curve.startControl.x(), curve.endControl.x(), curve.end.x()});
  const auto [top, bottom] = std::minmax({curve.start.y(), curve.end.y()});
  const double margin = WireMask::reachInPixels(scale);
  return QRect(
      QPoint(static_cast<int>(std::floor(left * scale - margin)), static_cast<int>(std::floor(top * scale - margin))),
      QPoint(static_cast<int>(std::ceil(right * scale + margin)),
             static_cast<int>(std::ceil(bottom * scale + margin))));
}

}  // namespace brindlemux
