#include "app/shell/route_report.h"

#include <cmath>

#include "engine/device_engine.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

std::string asText(const std::optional<std::int64_t>& number) { return number ? std::to_string(*number) : "no"; }

}  // namespace

std::vector<std::string> routeReport(const AppState& state) {
  std::vector<std::string> lines;
  for (const VirtualDeviceConfig& device : state.virtualDevices()) {
    const auto statistics = state.statistics(device.uid);
    const auto rateHz = state.sampleRateHz(device.uid);
    std::string line = "Brindlemux: " + device.name + ": ";
    if (!statistics || !rateHz) {
      lines.push_back(line + "not running");
      continue;
    }
    const std::int64_t asked = DeviceEngine::clampedBufferFrames(state.graph(device.uid).latencyFrames);
    lines.push_back(line + std::to_string(std::llround(*rateHz)) + " of " +
                    std::to_string(std::llround(engineSampleRateHz)) + " Hz, blocks of " +
                    asText(state.blockFrames(device.uid)) + " of " + std::to_string(asked) + " frames; " +
                    text(*statistics));
  }
  return lines;
}

}  // namespace brindlemux
