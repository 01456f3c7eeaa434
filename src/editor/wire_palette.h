#pragma once

#include <QColor>

#include "editor/wire_scene.h"

namespace brindlemux {

/// The colours of the wires; the theme gives them.
struct WirePalette {
  QColor accent;
  QColor activity;
  QColor selection;
  QColor secondary;

  const QColor& colour(WireStroke::Colour role) const noexcept {
    switch (role) {
      case WireStroke::Colour::selection:
        return selection;
      case WireStroke::Colour::secondary:
        return secondary;
      case WireStroke::Colour::accent:
        break;
    }
    return accent;
  }

  friend bool operator==(const WirePalette&, const WirePalette&) = default;
};

}  // namespace brindlemux
