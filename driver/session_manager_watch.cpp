#include "driver/session_manager_watch.h"

#include <spa/utils/string.h>
#include <utility>

namespace brindlemux::driver {

// The session manager's presence is that of its metadata object "default".
const pw_context_events SessionManagerWatch::contextEvents = [] {
  pw_context_events events = {};
  events.version = PW_VERSION_CONTEXT_EVENTS;
  events.global_removed = [](void* data, pw_global* global) {
    if (!pw_global_is_type(global, PW_TYPE_INTERFACE_Metadata)) return;
    const char* const name = pw_properties_get(pw_global_get_properties(global), PW_KEY_METADATA_NAME);
    if (spa_streq(name, "default")) static_cast<SessionManagerWatch*>(data)->gone_.signal();
  };
  return events;
}();

SessionManagerWatch::SessionManagerWatch(pw_context& context, std::function<void()> gone)
    : gone_(*pw_context_get_main_loop(&context), std::move(gone)) {
  pw_context_add_listener(&context, &listener_, &contextEvents, this);
}

SessionManagerWatch::~SessionManagerWatch() { spa_hook_remove(&listener_); }

}  // namespace brindlemux::driver
