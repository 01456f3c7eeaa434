#pragma once

#include "engine/engine_services.h"
#include "model/graph_store.h"
#include "platform/scheduler.h"

namespace brindlemux {

/// What the controller borrows; all of it outlives it. The audio hardware and the discovery are those of `engine`.
struct AppServices {
  EngineServices engine;
  GraphStore& graphStore;
  Scheduler& scheduler;
};

}  // namespace brindlemux
