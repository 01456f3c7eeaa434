#pragma once

#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

#include "engine/meter_snapshot.h"
#include "engine/mix_bus.h"

namespace brindlemux {

/// Turns a device's accumulated peaks into meter snapshots: holds the clip indicator and tells what other applications
/// play into the device from the engine's own mix. Decay and hold count in snapshots.
///
/// Threads: the main thread.
class EngineMeter {
 public:
  /// Reads and resets the peaks of every ring in `sources`, of the bus's output and of the device's loop-back
  /// (`loopback` may be none).
  MeterSnapshot snapshot(const MixBus::Rings& sources, MixBus& bus, SourceRing* loopback);

 private:
  std::vector<float> recentMixMax_;
  std::vector<std::int64_t> clipHold_;
};

}  // namespace brindlemux
