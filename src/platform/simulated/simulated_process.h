#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/simulated/simulated_signal.h"

namespace brindlemux {

/// One process that the simulated server knows.
struct SimulatedProcess {
  std::int32_t pid = 0;
  std::optional<std::string> bundleID;
  bool isPlaying = false;
  SimulatedSignal audio;  ///< what it plays while it is playing; silence for none
  std::string outputUID;  ///< the device into which it plays; empty for one outside the simulation
};

}  // namespace brindlemux
