#pragma once

#include <atomic>
#include <cstdint>

namespace brindlemux {

/// A mutual exclusion lock of one 32-bit word: a futex with priority inheritance. Uncontended it never enters the
/// kernel; contended, the holder runs at the priority of its most urgent waiter. Not recursive, not fair.
///
/// Threads: any. Meets the standard's BasicLockable and Lockable, so std::lock_guard works.
class UnfairLock {
 public:
  UnfairLock() = default;
  UnfairLock(const UnfairLock&) = delete;
  UnfairLock& operator=(const UnfairLock&) = delete;

  // A pair of these is all that a quiet ring costs beside its samples, so the way without contention is inline.

  void lock() noexcept {
    std::uint32_t found = thread_.expected;
    if (!word_.compare_exchange_strong(found, thread_.id, std::memory_order_acquire, std::memory_order_relaxed))
        [[unlikely]] {
      lockOtherwise();
    }
  }

  bool try_lock() noexcept;

  void unlock() noexcept {
    std::uint32_t found = thread_.id;
    if (!word_.compare_exchange_strong(found, 0, std::memory_order_release, std::memory_order_relaxed)) [[unlikely]] {
      unlockOtherwise();
    }
  }

 private:
  static std::uint32_t threadID() noexcept;
  void lockOtherwise() noexcept;
  void unlockOtherwise() noexcept;

  /// Asking the kernel for the thread's ID costs a system call, so each thread remembers it. Until it is known, both
  /// hold what no word ever does, so that every exchange fails: a branch that asked first would have to be settled
  /// before the processor begins the exchange.
  struct Thread {
    std::uint32_t id;
    /// What the word of a free lock holds, which is 0.
    std::uint32_t expected;
  };
  static constexpr Thread unknownThread_ = {.id = UINT32_MAX, .expected = UINT32_MAX};
  [[gnu::tls_model("initial-exec")]] static inline constinit thread_local Thread thread_ = unknownThread_;
  static const int forkHandler_;

  /// 0 when free, otherwise the holder's thread ID, with the kernel's waiters bit when contended.
  std::atomic<std::uint32_t> word_{0};
};

}  // namespace brindlemux
