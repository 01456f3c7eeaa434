#include "driver/session_manager_watch.h"

#include <chrono>
#include <spa/utils/string.h>
#include <utility>

#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

using namespace std::chrono_literals;

// The session manager shows its metadata before its policies run. Nodes that appear within the first half second are
// sometimes left alone by it.
constexpr auto settlingTime = 1s;

// The session manager's presence is that of its metadata object "default".
bool isDefaultMetadata(pw_global* global) {
  return pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata) &&
         spa_streq(pw_properties_get(pw_global_get_properties(global), PW_KEY_METADATA_NAME), "default");
}

}  // namespace

const pw_context_events SessionManagerWatch::contextEvents = [] {
  pw_context_events events = {};
  events.version = PW_VERSION_CONTEXT_EVENTS;
  events.global_added = [](void* data, pw_global* global) {
    auto& self = *static_cast<SessionManagerWatch*>(data);
    if (self.hasLeft_ && isDefaultMetadata(global)) self.settled_.start(settlingTime, LoopTimer::Repeat::once);
  };
  events.global_removed = [](void* data, pw_global* global) {
    auto& self = *static_cast<SessionManagerWatch*>(data);
    if (!isDefaultMetadata(global)) return;
    self.hasLeft_ = true;
    self.settled_.stop();
  };
  return events;
}();

SessionManagerWatch::SessionManagerWatch(pw_context& context, std::function<void()> returned)
    : settled_(*pw_context_get_main_loop(&context), std::move(returned)) {
  pw_context_add_listener(&context, &listener_, &contextEvents, this);
}

SessionManagerWatch::~SessionManagerWatch() { spa_hook_remove(&listener_); }

}  // namespace brindlemux::driver
