#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace brindlemux {

/// The I/O block sizes offered for a graph; the raw value is the frame count.
enum class LatencyMode : std::int64_t { lowest = 64, low = 128, balanced = 256, safe = 512 };

/// In the order in which the settings list shows them.
inline constexpr std::array<LatencyMode, 4> allLatencyModes = {LatencyMode::lowest, LatencyMode::low,
                                                               LatencyMode::balanced, LatencyMode::safe};

/// The mode with exactly this frame count, or nothing.
std::optional<LatencyMode> latencyMode(std::int64_t frames) noexcept;

/// The mode closest to a frame count; a tie goes to the smaller one.
/// Errors: a distance beyond the signed 64-bit range is fatal.
LatencyMode nearestLatencyMode(std::int64_t frames) noexcept;

std::string_view label(LatencyMode mode) noexcept;
std::string_view description(LatencyMode mode) noexcept;

}  // namespace brindlemux
