#include "editor/wire_shade.h"

#include <algorithm>
#include <cmath>

namespace brindlemux {
namespace {

constexpr int patternColumns = 64;
constexpr int patternShift = 26;
constexpr double patternParts = 4294967296.0;

struct Premultiplied {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 0;

  void put(const QColor& colour, double opacity) {
    const double keep = 1 - opacity;
    red = colour.redF() * opacity + red * keep;
    green = colour.greenF() * opacity + green * keep;
    blue = colour.blueF() * opacity + blue * keep;
    alpha = opacity + alpha * keep;
  }

  QRgb rgba() const {
    const auto byte = [](double value) { return static_cast<int>(std::lround(value * 255)); };
    return qRgba(byte(red), byte(green), byte(blue), byte(alpha));
  }
};

/// How much of a pixel lies inside a shape whose edge is `inside` pixels away.
double coverage(double inside) { return std::clamp(inside + 0.5, 0.0, 1.0); }

QRgb over(QRgb source, QRgb target) noexcept {
  const std::uint32_t keep = 255U - static_cast<std::uint32_t>(qAlpha(source));
  // Two channels at a time, each divided by 255 with rounding.
  std::uint32_t redBlue = (target & 0x00FF00FFU) * keep + 0x00800080U;
  redBlue = ((redBlue + ((redBlue >> 8U) & 0x00FF00FFU)) >> 8U) & 0x00FF00FFU;
  std::uint32_t alphaGreen = ((target >> 8U) & 0x00FF00FFU) * keep + 0x00800080U;
  alphaGreen = (alphaGreen + ((alphaGreen >> 8U) & 0x00FF00FFU)) & 0xFF00FF00U;
  return source + (redBlue | alphaGreen);
}

}  // namespace

WireShade::WireShade(const std::vector<Band>& bands, double period, double scale) : period_(period) {
  if (period > 0) {
    columns_ = patternColumns;
    columnShift_ = patternShift;
    partsPerStep_ = static_cast<std::uint32_t>(std::lround(patternParts / (period * WireMask::alongSteps)));
  }
  const int rows = WireMask::distanceCount(scale);
  colours_.reserve(static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns_));
  for (int row = 0; row < rows; ++row) {
    const double distance = static_cast<double>(row) / WireMask::distanceSteps;
    for (int column = 0; column < columns_; ++column) {
      const double place = (column + 0.5) / columns_ * period;
      Premultiplied colour;
      for (const Band& band : bands) {
        const double radius = band.width / 2 * scale;
        double covered = coverage(radius - distance);
        if (band.dashes != Band::Cap::none) {
          // From the end of the dash, which the pattern begins with; negative inside it.
          const double middle = band.dashOn / 2;
          const double fromMiddle = std::abs(std::remainder(place - middle, period));
          const double beyond = (fromMiddle - middle) * scale;
          covered = band.dashes == Band::Cap::butt ? covered * coverage(-beyond)
                                                   : coverage(radius - std::hypot(std::max(beyond, 0.0), distance));
        }
        if (covered > 0) colour.put(band.colour, band.opacity * covered);
      }
      colours_.push_back(colour.rgba());
    }
  }
}

WireShade::Band WireShade::bandOf(const WireStroke& stroke, const WirePalette& palette) {
  return {palette.colour(stroke.colour), stroke.opacity, stroke.width,
          stroke.dashOff > 0 ? Band::Cap::butt : Band::Cap::none, stroke.dashOn};
}

WireShade::Band WireShade::glow(const FlowOverlay& flow, const WirePalette& palette) {
  return {palette.accent, flow.glowOpacity(), FlowOverlay::glowWidth};
}

WireShade::Band WireShade::dashes(const FlowOverlay& flow, const WirePalette& palette) {
  return {palette.activity, flow.dashOpacity(), flow.dashWidth(), Band::Cap::round, FlowOverlay::dashOn};
}

WireShade WireShade::line(const WireStroke& stroke, const WirePalette& palette, double scale) {
  return {{bandOf(stroke, palette)}, stroke.dashOff > 0 ? stroke.dashOn + stroke.dashOff : 0, scale};
}

WireShade WireShade::flowingLine(const WireStroke& stroke, const FlowOverlay& flow, const WirePalette& palette,
                                 double scale) {
  return {{bandOf(stroke, palette), glow(flow, palette), dashes(flow, palette)},
          FlowOverlay::dashOn + FlowOverlay::dashOff,
          scale};
}

WireShade WireShade::flow(const FlowOverlay& flow, const WirePalette& palette, double scale) {
  return {{glow(flow, palette), dashes(flow, palette)}, FlowOverlay::dashOn + FlowOverlay::dashOff, scale};
}

void WireShade::draw(const WireMask::Pixel* pixels, std::size_t count, double phase, QRgb* target) const noexcept {
  std::uint32_t begin = 0;
  if (period_ > 0) {
    const double place = phase / period_;
    begin = static_cast<std::uint32_t>((place - std::floor(place)) * (patternParts - 1));
  }
  for (std::size_t i = 0; i < count; ++i) {
    const std::uint32_t parts = pixels[i].along * partsPerStep_ + begin;
    // Without a pattern there is one column, and the shift is none, as nothing was added up.
    const std::uint32_t column = columns_ > 1 ? parts >> columnShift_ : 0;
    const QRgb colour = colours_[pixels[i].distance * static_cast<std::uint32_t>(columns_) + column];
    target[i] = over(colour, target[i]);
  }
}

}  // namespace brindlemux
