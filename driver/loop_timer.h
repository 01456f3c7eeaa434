#pragma once

#include <chrono>
#include <functional>
#include <pipewire/loop.h>

namespace brindlemux::driver {

/// An action that the server's main loop runs after a delay, and then again after every interval until stopped.
///
/// Owns its loop source; borrows the loop. Threads: the main loop's alone.
class LoopTimer {
 public:
  enum class Repeat { once, always };

  LoopTimer(pw_loop& loop, std::function<void()> action);
  ~LoopTimer();
  LoopTimer(const LoopTimer&) = delete;
  LoopTimer& operator=(const LoopTimer&) = delete;

  /// Starts over when it is running. The delay is above zero.
  void start(std::chrono::milliseconds delay, Repeat repeat) noexcept;
  void stop() noexcept;

 private:
  pw_loop& loop_;
  std::function<void()> action_;
  spa_source* source_;
};

}  // namespace brindlemux::driver
