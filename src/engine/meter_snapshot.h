#pragma once

#include <unordered_map>
#include <vector>

#include "model/uuid.h"

namespace brindlemux {

/// Peaks since the previous snapshot, as absolute sample values.
struct MeterSnapshot {
  /// Per source, one value per channel of its ring.
  std::unordered_map<UUID, std::vector<float>> sourcePeaks;
  /// Per output channel: the larger of the engine's limited mix and the device's loop-back.
  std::vector<float> outputPeaks;
  /// Per output channel: the loop-back's peak where it clearly exceeds the engine's own mix, otherwise 0.
  std::vector<float> passThruPeaks;
  /// Per output channel: whether the clip indicator is lit.
  std::vector<bool> outputClip;

  friend bool operator==(const MeterSnapshot&, const MeterSnapshot&) = default;
};

}  // namespace brindlemux
