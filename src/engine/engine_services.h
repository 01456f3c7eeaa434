#pragma once

#include "model/clock.h"
#include "model/uuid.h"
#include "platform/audio_hardware.h"
#include "platform/discovery.h"

namespace brindlemux {

/// What captures, outputs and engines borrow; all of it outlives them.
struct EngineServices {
  AudioHardware& hardware;
  const Discovery& discovery;
  Clock& clock;
  UUIDSource& uuids;
};

}  // namespace brindlemux
