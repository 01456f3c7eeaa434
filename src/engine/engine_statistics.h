#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace brindlemux {

/// What a device's engine has gone through since it started.
struct EngineStatistics {
  /// Blocks that were rendered, of the device and of its monitors.
  std::int64_t renderedBlocks = 0;
  /// The longest that one of them took.
  std::chrono::nanoseconds worstRender{0};
  /// How often a reader of a ring that had a place already was moved to another one.
  std::int64_t repositionings = 0;
  /// How often a reader found fewer frames than its block has, in a ring that had been written to.
  std::int64_t underruns = 0;
  /// Captured blocks that could not be used.
  std::int64_t droppedBlocks = 0;

  friend bool operator==(const EngineStatistics&, const EngineStatistics&) = default;
};

/// In words, for a person: "48000 blocks rendered, the longest in 0.021 ms; 0 repositionings, 0 underruns, 0 blocks
/// dropped".
std::string text(const EngineStatistics& statistics);

}  // namespace brindlemux
