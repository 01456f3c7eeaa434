#pragma once

#include <chrono>

namespace brindlemux {

/// How the sound that flows along a wire looks: a glow over the wire and dashes that travel on it.
struct FlowOverlay {
  static constexpr double glowWidth = 4.5;
  static constexpr double dashOn = 4;
  static constexpr double dashOff = 11;

  /// How strong it looks, 0 to 1.
  double level = 0;

  /// For a linear peak; the look no longer changes above 0.4.
  static FlowOverlay of(float peak) noexcept;

  double glowOpacity() const noexcept { return level * 0.3 + 0.18; }
  double dashOpacity() const noexcept { return level * 0.5 + 0.5; }
  double dashWidth() const noexcept { return level * 1.2 + 1.6; }

  friend bool operator==(const FlowOverlay&, const FlowOverlay&) = default;
};

/// How far into their pattern the dashes start, in points: they travel 90 points per second from the wire's start to
/// its end. `time` is counted from any fixed moment; the phase starts over every 1000 seconds, which keeps it exact.
double animationPhase(std::chrono::duration<double> time) noexcept;

}  // namespace brindlemux
