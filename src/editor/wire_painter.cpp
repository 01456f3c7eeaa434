#include "editor/wire_painter.h"

#include <algorithm>
#include <cmath>
#include <unordered_set>

#include "model/hash_combine.h"

namespace brindlemux {
namespace {

/// Levels are rounded to this many, none of which the eye tells from the next: few shades serve for all peaks.
constexpr double levelSteps = 32;

std::optional<FlowOverlay> rounded(const std::optional<FlowOverlay>& flow) {
  if (!flow) return std::nullopt;
  return FlowOverlay{std::round(flow->level * levelSteps) / levelSteps};
}

void draw(const WireMask& mask, const WireShade& shade, double phase, const QRect& area, QImage& image) {
  for (const WireMask::Run& run : mask.runs()) {
    if (run.y < area.top() || run.y > area.bottom()) continue;
    const int left = std::max(run.x, area.left());
    const int right = std::min(run.x + static_cast<int>(run.count), area.right() + 1);
    if (left >= right) continue;
    auto* row = reinterpret_cast<QRgb*>(image.scanLine(run.y - area.top()));
    shade.draw(mask.pixels(run) + (left - run.x), static_cast<std::size_t>(right - left), phase,
               row + (left - area.left()));
  }
}

}  // namespace

std::size_t WirePainter::EndsHash::operator()(const WireEnds& ends) const noexcept {
  return hashOf(ends.from.x(), ends.from.y(), ends.to.x(), ends.to.y());
}

void WirePainter::setScale(double scale) {
  if (scale_ == scale) return;
  scale_ = scale;
  masks_.clear();
  shades_.clear();
  flows_.clear();
}

void WirePainter::setPalette(const WirePalette& palette) {
  if (palette_ == palette) return;
  palette_ = palette;
  shades_.clear();
  flows_.clear();
}

QRect WirePainter::bounds(const std::vector<DrawnWire>& wires) const {
  QRect bounds;
  for (const DrawnWire& wire : wires) bounds |= wireBounds(wire.ends, scale_);
  return bounds;
}

QImage WirePainter::paint(const std::vector<DrawnWire>& wires, const QRect& area, double phase) {
  QImage image(area.size(), QImage::Format_ARGB32_Premultiplied);
  image.fill(Qt::transparent);
  for (const DrawnWire& wire : wires) {
    if (!area.intersects(wireBounds(wire.ends, scale_))) continue;
    const WireMask& mask = maskOf(wire.ends);
    const std::optional<FlowOverlay> flow = rounded(wire.flow);
    const bool isSolid = wire.stroke.dashOff <= 0;
    const bool isOnePattern = isSolid && flow.has_value();
    draw(mask, shadeOf(wire.stroke, isSolid ? flow : std::nullopt), isOnePattern ? phase : 0, area, image);
    if (flow && !isSolid) draw(mask, flowOf(*flow), phase, area, image);
  }
  return image;
}

void WirePainter::forgetOthers(const DrawnWires& wires) {
  std::unordered_set<WireEnds, EndsHash> drawn;
  for (const auto* list : {&wires.toOutput, &wires.fromOutput, &wires.drag}) {
    for (const DrawnWire& wire : *list) drawn.insert(wire.ends);
  }
  std::erase_if(masks_, [&](const auto& entry) { return !drawn.contains(entry.first); });
}

const WireMask& WirePainter::maskOf(const WireEnds& ends) {
  const auto found = masks_.find(ends);
  return found != masks_.end() ? found->second : masks_.emplace(ends, WireMask(ends, scale_)).first->second;
}

const WireShade& WirePainter::shadeOf(const WireStroke& stroke, const std::optional<FlowOverlay>& flow) {
  const auto found = std::ranges::find_if(
      shades_, [&](const Shaded& shaded) { return shaded.stroke == stroke && shaded.flow == flow; });
  if (found != shades_.end()) return found->shade;
  return shades_
      .emplace_back(Shaded{
          stroke, flow,
          flow ? WireShade::flowingLine(stroke, *flow, palette_, scale_) : WireShade::line(stroke, palette_, scale_)})
      .shade;
}

const WireShade& WirePainter::flowOf(const FlowOverlay& flow) {
  const auto found = flows_.find(flow.level);
  if (found != flows_.end()) return found->second;
  return flows_.emplace(flow.level, WireShade::flow(flow, palette_, scale_)).first->second;
}

}  // namespace brindlemux
