#include "editor/flow_overlay.h"

#include <algorithm>
#include <cmath>

namespace brindlemux {

FlowOverlay FlowOverlay::of(float peak) noexcept { return {std::min(static_cast<double>(peak) * 2.5, 1.0)}; }

double animationPhase(std::chrono::duration<double> time) noexcept { return std::fmod(time.count(), 1000.0) * -90.0; }

}  // namespace brindlemux
