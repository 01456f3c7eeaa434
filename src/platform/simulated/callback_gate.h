#pragma once

#include <mutex>
#include <utility>

namespace brindlemux {

/// A callback that one thread runs while another stops it: closing the gate waits for a call that is under way, and
/// none begins until the gate is opened again. It begins closed.
///
/// Threads: any; a callback must not close its own gate.
template <typename Callback>
class CallbackGate {
 public:
  explicit CallbackGate(Callback callback) : callback_(std::move(callback)) {}

  /// Hands the callback to `body`, unless the gate is closed.
  template <typename Body>
  void pass(Body&& body) {
    const std::lock_guard guard(lock_);
    if (isOpen_) std::forward<Body>(body)(callback_);
  }

  void open() { set(true); }
  void close() { set(false); }

 private:
  void set(bool isOpen) {
    const std::lock_guard guard(lock_);
    isOpen_ = isOpen;
  }

  std::mutex lock_;
  bool isOpen_ = false;
  const Callback callback_;
};

}  // namespace brindlemux
