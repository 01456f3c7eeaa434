#pragma once

#include <QRect>
#include <cstdint>
#include <vector>

#include "editor/wire_ends.h"

namespace brindlemux {

/// The pixels near a wire, each with how far it is from the curve and how far along the curve its nearest point is.
/// That is all that every stroke of the wire needs, however its colours and dashes change; so it is traced once, and
/// kept for as long as the ends stay where they are.
class WireMask {
 public:
  /// Distances are counted in fractions of a pixel, to the nearest, lengths along the wire in fractions of a point.
  static constexpr int distanceSteps = 32;
  static constexpr int alongSteps = 16;
  /// Half of the widest stroke, in points.
  static constexpr double reach = 2.25;

  struct Pixel {
    /// Wires of more than 4095 points end with the last length.
    std::uint16_t along = 0;
    std::uint16_t distance = 0;
  };
  /// Pixels side by side.
  struct Run {
    int x = 0;
    int y = 0;
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };

  /// `scale` is pixels per point. Pixels are counted from the origin of the coordinates in which the ends are.
  WireMask(const WireEnds& ends, double scale);

  const std::vector<Run>& runs() const noexcept { return runs_; }
  const Pixel* pixels(const Run& run) const noexcept { return pixels_.data() + run.first; }

  /// Pixels are kept up to this distance from the curve, in pixels: half a pixel more than the widest stroke covers.
  static double reachInPixels(double scale) noexcept { return reach * scale + 0.5; }
  /// How many distances there are.
  static int distanceCount(double scale) noexcept;

 private:
  std::vector<Run> runs_;
  std::vector<Pixel> pixels_;
};

/// All pixels that a wire may cover; none of its mask lies outside.
QRect wireBounds(const WireEnds& ends, double scale) noexcept;

}  // namespace brindlemux
