#pragma once

#include <cstdint>
#include <ostream>
#include <utility>

namespace brindlemux::test {

/// What a render callback must not do, counted on one thread.
struct RealtimeCounts {
  /// malloc, calloc, realloc, the aligned variants, and with them every operator new.
  std::int64_t allocations = 0;
  /// free and operator delete of something.
  std::int64_t frees = 0;
  /// Calls that may block in the kernel: a mutex, a read-write lock, a futex.
  std::int64_t blockingLocks = 0;

  friend bool operator==(const RealtimeCounts&, const RealtimeCounts&) = default;
  friend std::ostream& operator<<(std::ostream& stream, const RealtimeCounts& counts) {
    return stream << counts.allocations << " allocations, " << counts.frees << " frees, " << counts.blockingLocks
                  << " blocking locks";
  }
};

/// Counts on the calling thread from its construction until `finish()`; other threads are not seen. One at a time on a
/// thread. Make no assertion in between, since those allocate.
///
/// Built with the address or the thread sanitizer, allocations and frees are counted through the sanitizer's hooks, and
/// `blockingLocks` stays 0, because the sanitizer itself stands in for the lock functions. The thread sanitizer does
/// not report allocations of a given alignment.
class RealtimeGuard {
 public:
  RealtimeGuard() noexcept;
  ~RealtimeGuard();
  RealtimeGuard(const RealtimeGuard&) = delete;
  RealtimeGuard& operator=(const RealtimeGuard&) = delete;

  RealtimeCounts finish() noexcept;

  /// Whether this build counts blocking locks.
  static bool countsLocks() noexcept;
};

/// Counts while `body` runs: EXPECT_EQ(countedInRealtime([&] { bus.renderVirtual(...); }), RealtimeCounts{}).
template <typename Body>
RealtimeCounts countedInRealtime(Body&& body) {
  RealtimeGuard guard;
  std::forward<Body>(body)();
  return guard.finish();
}

}  // namespace brindlemux::test
