#include "app/controller/structural_change.h"

#include <algorithm>

namespace brindlemux {

bool isStructuralChange(const DeviceGraph& before, const DeviceGraph& after) {
  const auto sameNode = [](const auto& left, const auto& right) { return left.id == right.id; };
  const auto sameMonitor = [](const MonitorNodeConfig& left, const MonitorNodeConfig& right) {
    return left.id == right.id && left.deviceUID == right.deviceUID;
  };
  return before.enabled != after.enabled || before.latencyFrames != after.latencyFrames ||
         !std::ranges::equal(before.sources, after.sources, sameNode) ||
         !std::ranges::equal(before.monitors, after.monitors, sameMonitor);
}

}  // namespace brindlemux
