#pragma once

#include <chrono>
#include <functional>
#include <pipewire/loop.h>

namespace brindlemux::driver {

/// An action that the server's main loop runs after every interval until stopped.
///
/// Owns its loop source; borrows the loop. Threads: the main loop's alone.
class LoopTimer {
 public:
  LoopTimer(pw_loop& loop, std::function<void()> action);
  ~LoopTimer();
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;

  /// Starts over when it is running. The interval is above zero.
  void start(std::chrono::milliseconds interval) noexcept;
  void stop() noexcept;

 private:
  pw_loop& loop_;
  std::function<void()> action_;
  spa_source* source_;
};

}  // namespace brindlemux::driver
