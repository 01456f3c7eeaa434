#include "editor/canvas_geometry.h"

#include <algorithm>
#include <cmath>

namespace brindlemux {

double CanvasGeometry::contentWidth() const noexcept { return std::max(visibleWidth_, minimumWidth); }

double CanvasGeometry::contentHeight() const noexcept {
  return std::max({visibleHeight_, minimumHeight, columnHeight_ + 2 * padding()});
}

double CanvasGeometry::outputX() const noexcept {
  const double gaps = contentWidth() - 2 * padding() - 2 * sideWidth() - outputWidth();
  return padding() + sideWidth() + std::floor(gaps / 2);
}

double CanvasGeometry::monitorsX() const noexcept { return std::floor(contentWidth() - padding() - sideWidth()); }

}  // namespace brindlemux
