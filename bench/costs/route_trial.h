#pragma once

#include <string>
#include <vector>

#include "costs/builds.h"
#include "costs/delay.h"
#include "costs/probe.h"

namespace brindlemux::bench {

/// What one build of the routes has cost.
struct Trial {
  /// Processor time per second of audio, in milliseconds.
  double programMs = 0;
  double systemMs = 0;
  /// The length of the server's cycles in frames.
  std::uint32_t cycleFrames = 0;
  /// From the applications and the microphone to each device, in order, and from the sum of the devices to each
  /// monitor; empty when the server finished too few cycles for that.
  std::vector<Delays> toDevices;
  std::vector<Delays> toMonitors;
  /// Cycles that the drivers could not finish while the time was taken.
  int xruns = 0;
  /// Per node, the cycles that it missed while it was listened to.
  ErrorCounts errors;
};

/// Starts a server with applications that play, builds the routes, takes the processor time of `seconds` of audio, and
/// then listens to both ends.
Trial tryRoutes(Builder builder, const Routes& routes, int seconds);

}  // namespace brindlemux::bench
