#pragma once

#include "model/device_graph.h"

namespace brindlemux {

/// Whether every field is equal. The program itself never asks that; a test may.
inline bool operator==(const DeviceGraph& left, const DeviceGraph& right) {
  return left.deviceUID == right.deviceUID && left.enabled == right.enabled && left.masterGain == right.masterGain &&
         left.outputGains == right.outputGains && left.latencyFrames == right.latencyFrames &&
         left.sources == right.sources && left.wires == right.wires && left.monitors == right.monitors &&
         left.monitorWires == right.monitorWires;
}

}  // namespace brindlemux
