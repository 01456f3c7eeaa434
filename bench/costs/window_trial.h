#pragma once

#include "costs/program.h"

namespace brindlemux::bench {

/// Prints what the program costs with a crowded graph, a device of 16 channels with 24 sources, 8 monitors and 200
/// wires: with its window open and everything audible, open and silent, and hidden. The sound comes from applications
/// that really play. Throws std::runtime_error when the scene cannot be made.
void tryWindow(const Display& display, int seconds);

}  // namespace brindlemux::bench
