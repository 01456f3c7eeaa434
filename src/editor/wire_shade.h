#pragma once

#include <QRgb>
#include <cstdint>
#include <vector>

#include "editor/flow_overlay.h"
#include "editor/wire_mask.h"
#include "editor/wire_palette.h"
#include "editor/wire_scene.h"

namespace brindlemux {

/// The colour of a wire's pixel by its distance from the curve and its place in the dash pattern, for lines that lie on
/// each other with one pattern. The phase of the pattern comes in only when a pixel is looked up.
class WireShade {
 public:
  /// The line itself, with its own dashes if it has any.
  static WireShade line(const WireStroke& stroke, const WirePalette& palette, double scale);
  /// A solid line with the flow on it.
  static WireShade flowingLine(const WireStroke& stroke, const FlowOverlay& flow, const WirePalette& palette,
                               double scale);
  /// The flow alone, for lines with dashes of their own.
  static WireShade flow(const FlowOverlay& flow, const WirePalette& palette, double scale);

  /// Draws the pixels of a run onto premultiplied ones. `phase` in points, as dashes are begun that far into their
  /// pattern.
  void draw(const WireMask::Pixel* pixels, std::size_t count, double phase, QRgb* target) const noexcept;

 private:
  struct Band {
    QColor colour;
    double opacity = 1;
    double width = 0;
    enum class Cap { none, butt, round } dashes = Cap::none;
    double dashOn = 0;
  };
  WireShade(const std::vector<Band>& bands, double period, double scale);

  static Band bandOf(const WireStroke& stroke, const WirePalette& palette);
  static Band glow(const FlowOverlay& flow, const WirePalette& palette);
  static Band dashes(const FlowOverlay& flow, const WirePalette& palette);

  /// In points; 0 for a line without a pattern.
  double period_;
  /// What turns a length along the wire into a place in the pattern, of which a whole one has 2^32 parts.
  std::uint32_t partsPerStep_ = 0;
  int columnShift_ = 0;
  int columns_ = 1;
  /// By distance, then by place in the pattern.
  std::vector<QRgb> colours_;
};

}  // namespace brindlemux
