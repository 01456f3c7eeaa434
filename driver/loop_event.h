#pragma once

#include <functional>
#include <pipewire/loop.h>

namespace brindlemux::driver {

/// An action that the server's main loop runs soon after it was asked for, once for any number of requests.
///
/// Owns its loop source; borrows the loop. Threads: the main loop's alone.
class LoopEvent {
 public:
  LoopEvent(pw_loop& loop, std::function<void()> action);
  ~LoopEvent();
  LoopEvent(const LoopEvent&) = delete;
  LoopEvent& operator=(const LoopEvent&) = delete;

  void signal() noexcept;

 private:
  pw_loop& loop_;
  std::function<void()> action_;
  spa_source* source_;
};

}  // namespace brindlemux::driver
