#pragma once

#include <functional>
#include <pipewire/impl.h>

#include "driver/loop_timer.h"

namespace brindlemux::driver {

/// Notices that the session manager has been restarted.
///
/// Borrows the context. Threads: the server's main loop.
class SessionManagerWatch {
 public:
  /// `returned` is called once a restarted session manager has had time to settle, never for its first start.
  SessionManagerWatch(pw_context& context, std::function<void()> returned);
  ~SessionManagerWatch();
  SessionManagerWatch(const SessionManagerWatch&) = delete;
  SessionManagerWatch& operator=(const SessionManagerWatch&) = delete;

 private:
  static const pw_context_events contextEvents;
  LoopTimer settled_;
  spa_hook listener_ = {};
  bool hasLeft_ = false;
};

}  // namespace brindlemux::driver
