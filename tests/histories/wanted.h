#pragma once

#include <optional>
#include <string>
#include <vector>

#include "histories/routing.h"

namespace brindlemux::history {

/// The lists that the controller read last.
struct Environment {
  std::vector<AudioProcessInfo> processes;
  std::vector<AudioDeviceInfo> devices;
  friend bool operator==(const Environment&, const Environment&) = default;
};

/// What an engine shall run once it has reconciled without a failing call, and the last reason that it has not to run
/// all that its graph asks for.
struct Wanted {
  Running running;
  std::optional<std::string> message;
  /// Otherwise some of it may be missing, which the next refresh of the lists mends.
  bool isCertain = true;
};

/// A model of an engine without a memory: what it keeps follows from what runs (`taps`).
Wanted wantedOf(const World& world, const Routing& routing, const Environment& environment, const RunningTaps& taps);

}  // namespace brindlemux::history
