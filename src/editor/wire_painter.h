#pragma once

#include <QImage>
#include <QRect>
#include <deque>
#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "editor/wire_mask.h"
#include "editor/wire_palette.h"
#include "editor/wire_scene.h"
#include "editor/wire_shade.h"

namespace brindlemux {

/// Draws wires into images. Keeps what does not change from one frame to the next: where the pixels of a wire are, and
/// which colours they take.
///
/// Threads: one at a time.
/// Source:  bench/canvas_bench.cpp has the cost of a frame with a crowded graph.
class WirePainter {
 public:
  /// Pixels per point.
  void setScale(double scale);
  void setPalette(const WirePalette& palette);
  double scale() const noexcept { return scale_; }

  /// The pixels that the wires may cover.
  QRect bounds(const std::vector<DrawnWire>& wires) const;

  /// The wires in list order on a transparent ground. `area` is the part to draw, in pixels from the origin of the
  /// wires' coordinates; `phase` is that of the flow.
  QImage paint(const std::vector<DrawnWire>& wires, const QRect& area, double phase);

  /// Forgets the places of all wires but these.
  void forgetOthers(const DrawnWires& wires);
  std::size_t keptCount() const noexcept { return masks_.size(); }

 private:
  struct EndsHash {
    std::size_t operator()(const WireEnds& ends) const noexcept;
  };
  struct Shaded {
    WireStroke stroke;
    std::optional<FlowOverlay> flow;
    WireShade shade;
  };

  const WireMask& maskOf(const WireEnds& ends);
  const WireShade& shadeOf(const WireStroke& stroke, const std::optional<FlowOverlay>& flow);
  const WireShade& flowOf(const FlowOverlay& flow);

  double scale_ = 1;
  WirePalette palette_;
  std::unordered_map<WireEnds, WireMask, EndsHash> masks_;
  std::deque<Shaded> shades_;
  std::map<double, WireShade> flows_;
};

}  // namespace brindlemux
