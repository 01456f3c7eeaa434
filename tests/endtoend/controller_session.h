#pragma once

#include "app/controller/app_state.h"
#include "app/controller/qt_scheduler.h"
#include "endtoend/routing_session.h"
#include "model/clock.h"
#include "model/graph_store.h"
#include "model/system_log.h"
#include "model/uuid.h"
#include "platform/discovery.h"
#include "platform/pipewire/pipewire_audio_hardware.h"
#include "support/store_services.h"

namespace brindlemux::test {

/// The program without its window, in this process: a client of the session's server, on the event loop of the thread
/// that made it.
struct ControllerSession {
  explicit ControllerSession(RoutingSession& session) : environment(session), locations(session.file("programdata")) {}

  /// Has this process find the session's server; it is the first of all to be made.
  struct Environment {
    explicit Environment(RoutingSession& session) { session.server().adoptEnvironment(); }
  };

  Environment environment;
  FolderLocations locations;
  StandardErrorLog log;
  SystemClock clock;
  RandomUUIDSource uuids;
  GraphStore graphStore{locations, clock, log};
  QtScheduler scheduler;
  PipeWireAudioHardware hardware;
  Discovery discovery{hardware, hardware.runningApplications()};
  AppState state{{.engine = {.hardware = hardware, .discovery = discovery, .clock = clock, .uuids = uuids},
                  .graphStore = graphStore,
                  .scheduler = scheduler}};
};

}  // namespace brindlemux::test
