#include "model/latency_mode.h"

#include "model/fatal_error.h"

namespace brindlemux {
namespace {

std::int64_t distance(LatencyMode mode, std::int64_t frames) {
  std::int64_t difference = 0;
  if (__builtin_sub_overflow(static_cast<std::int64_t>(mode), frames, &difference)) {
    fatalError("overflow of a latency distance");
  }
  if (difference >= 0) return difference;
  if (__builtin_sub_overflow(std::int64_t{0}, difference, &difference)) fatalError("overflow of a latency distance");
  return difference;
}

}  // namespace

std::optional<LatencyMode> latencyMode(std::int64_t frames) noexcept {
  for (const LatencyMode mode : allLatencyModes) {
    if (static_cast<std::int64_t>(mode) == frames) return mode;
  }
  return std::nullopt;
}

LatencyMode nearestLatencyMode(std::int64_t frames) noexcept {
  LatencyMode best = allLatencyModes.front();
  std::int64_t bestDistance = distance(best, frames);
  for (const LatencyMode mode : allLatencyModes) {
    const std::int64_t candidate = distance(mode, frames);
    if (candidate < bestDistance) {
      best = mode;
      bestDistance = candidate;
    }
  }
  return best;
}

std::string_view label(LatencyMode mode) noexcept {
  switch (mode) {
    case LatencyMode::lowest:
      return "Lowest (64)";
    case LatencyMode::low:
      return "Low (128)";
    case LatencyMode::balanced:
      return "Balanced (256)";
    case LatencyMode::safe:
      return "Safe (512)";
  }
  return {};
}

std::string_view description(LatencyMode mode) noexcept {
  switch (mode) {
    case LatencyMode::lowest:
      return "~1.3 ms IO · possible glitches on weaker Macs";
    case LatencyMode::low:
      return "~2.7 ms IO · good balance";
    case LatencyMode::balanced:
      return "~5.3 ms IO · stable";
    case LatencyMode::safe:
      return "~10.7 ms IO · maximum stability";
  }
  return {};
}

}  // namespace brindlemux
