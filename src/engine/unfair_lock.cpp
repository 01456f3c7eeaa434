#include "engine/unfair_lock.h"

#include <cerrno>
#include <linux/futex.h>
#include <pthread.h>
#include <sched.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "model/fatal_error.h"

namespace brindlemux {
namespace {

long futex(std::atomic<std::uint32_t>& word, int operation) noexcept {
  static_assert(sizeof(word) == sizeof(std::uint32_t) && std::atomic<std::uint32_t>::is_always_lock_free);
  return syscall(SYS_futex, &word, operation | FUTEX_PRIVATE_FLAG, 0, nullptr, nullptr, 0);
}

}  // namespace

/// The child of a fork has an ID of its own but inherits the memory. Registered before main, since it allocates.
[[maybe_unused]] const int UnfairLock::forkHandler_ =
    pthread_atfork(nullptr, nullptr, [] { thread_ = unknownThread_; });

std::uint32_t UnfairLock::threadID() noexcept {
  if (thread_.id == unknownThread_.id) thread_ = {.id = static_cast<std::uint32_t>(gettid()), .expected = 0};
  return thread_.id;
}

void UnfairLock::lockOtherwise() noexcept {
  const std::uint32_t self = threadID();
  while (true) {
    std::uint32_t found = 0;
    if (word_.compare_exchange_strong(found, self, std::memory_order_acquire, std::memory_order_relaxed)) return;
    if ((found & FUTEX_TID_MASK) == self) fatalError("a thread takes an unfair lock that it holds");
    if (futex(word_, FUTEX_LOCK_PI) == 0) break;
    // A kernel built without priority inheritance leaves the word alone; waiting then means trying again.
    if (errno == ENOSYS) sched_yield();
    // EAGAIN: the holder is exiting; EINTR: a signal. Whatever else happens, the lock is not usable.
    else if (errno != EAGAIN && errno != EINTR)
      fatalError("an unfair lock cannot be taken");
  }
  // The kernel has written this thread's ID; this takes in what the holder before it published in unlock().
  static_cast<void>(word_.load(std::memory_order_acquire));
}

bool UnfairLock::try_lock() noexcept {
  std::uint32_t found = 0;
  return word_.compare_exchange_strong(found, threadID(), std::memory_order_acquire, std::memory_order_relaxed);
}

void UnfairLock::unlockOtherwise() noexcept {
  std::uint32_t self = threadID();
  if (word_.compare_exchange_strong(self, 0, std::memory_order_release, std::memory_order_relaxed)) return;
  if ((self & FUTEX_TID_MASK) != threadID()) fatalError("a thread releases an unfair lock that it does not hold");
  // Somebody waits, so the kernel must hand the word over. It is left as it is here, but written with release order,
  // which is what the next holder's acquire meets.
  word_.fetch_or(0, std::memory_order_release);
  while (futex(word_, FUTEX_UNLOCK_PI) != 0) {
    if (errno != EAGAIN && errno != EINTR) fatalError("an unfair lock cannot be released");
  }
}

}  // namespace brindlemux
