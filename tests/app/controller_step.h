#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "model/device_graph.h"

namespace brindlemux::test {

/// One thing that happens to a program: a command, an edit, or something around it. What a number means depends on the
/// kind, and every number means something, so that a history stays one when steps are taken out of it.
struct ControllerStep {
  enum class Kind {
    create,
    remove,
    rename,
    setChannels,
    edit,
    reload,
    dismissError,
    wait,
    refuseWrites,
    failSaves,
    failCaptures,
    takeDriver,
    otherWriter,
    plug,
    play,
    mendAll,
    count
  };

  Kind kind = Kind::wait;
  std::uint32_t number = 0;              ///< of the step in its history: new nodes are named after it
  std::array<std::uint32_t, 3> choices;  ///< picked at random
};

using ControllerHistory = std::vector<ControllerStep>;

/// The same steps for the same seed, on every machine.
ControllerHistory randomHistory(std::uint32_t seed, std::size_t steps);

/// For a failure's message.
std::string describe(const ControllerHistory& history);

/// The devices and applications that edits route; the outputs and inputs can be plugged, the applications can play.
inline constexpr std::array<const char*, 2> pluggableOutputs = {"headphones", "interface"};
inline constexpr std::array<const char*, 2> pluggableInputs = {"mic", "line"};
inline constexpr std::array<const char*, 2> applications = {"org.example.Player", "org.example.Game"};

/// The edit of an edit step: the same for two equal graphs.
void applyEdit(const ControllerStep& step, DeviceGraph& graph);

}  // namespace brindlemux::test
