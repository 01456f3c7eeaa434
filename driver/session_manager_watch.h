#pragma once

#include <functional>
#include <pipewire/impl.h>

#include "driver/loop_event.h"

namespace brindlemux::driver {

/// Notices that the session manager has gone.
///
/// Borrows the context. Threads: the server's main loop.
class SessionManagerWatch {
 public:
  SessionManagerWatch(pw_context& context, std::function<void()> gone);
  ~SessionManagerWatch();
  SessionManagerWatch(const SessionManagerWatch&) = delete;
  SessionManagerWatch& operator=(const SessionManagerWatch&) = delete;

 private:
  static const pw_context_events contextEvents;
  LoopEvent gone_;
  spa_hook listener_ = {};
};

}  // namespace brindlemux::driver
