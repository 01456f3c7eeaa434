#pragma once

#include "engine/engine_services.h"
#include "support/simulated_scene.h"

namespace brindlemux::test {

/// A simulated server with everything that captures, outputs and engines borrow.
struct EngineScene : SimulatedScene {
  EngineServices services{hardware, discovery, clock, uuids};
};

}  // namespace brindlemux::test
