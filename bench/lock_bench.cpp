#include <atomic>
#include <cstdint>
#include <memory>

#include "benches.h"
#include "engine/unfair_lock.h"
#include "side_by_side.h"

namespace brindlemux::bench {

void registerLock() {
  const auto lock = std::make_shared<UnfairLock>();
  const auto word = std::make_shared<std::atomic<std::uint32_t>>(0);
  Comparison comparison;
  comparison.what = "uncontended lock and unlock, times a pair of exchanges";
  comparison.operation = [lock](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      lock->lock();
      lock->unlock();
    }
  };
  comparison.bound = [word](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) {
      word->exchange(1, std::memory_order_acquire);
      word->exchange(0, std::memory_order_release);
    }
  };
  comparison.times = 1000;
  comparison.figure = Comparison::Figure::timesTheBound;
  comparison.atMost = 1.1;
  compare(std::move(comparison));
}

}  // namespace brindlemux::bench
