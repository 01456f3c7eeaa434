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

  void lock() noexcept;
  bool try_lock() noexcept;
  void unlock() noexcept;

 private:
  /// 0 when free, otherwise the holder's thread ID, with the kernel's waiters bit when contended.
  std::atomic<std::uint32_t> word_{0};
};

}  // namespace brindlemux
