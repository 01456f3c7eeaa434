#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

#include "engine/engine_statistics.h"

namespace brindlemux {

/// What the captures, rings and outputs of one engine count. They share it, since any of them may outlive the engine.
///
/// Threads: the operations that count run on render and capture threads; they neither lock nor allocate. The main
/// thread reads at any time, and resets while nothing runs.
class EngineCounters {
 public:
  void noteRender(std::chrono::nanoseconds duration) noexcept {
    renderedBlocks_.fetch_add(1, std::memory_order_relaxed);
    std::int64_t worst = worstRender_.load(std::memory_order_relaxed);
    while (duration.count() > worst &&
           !worstRender_.compare_exchange_weak(worst, duration.count(), std::memory_order_relaxed)) {
    }
  }
  void noteRepositioning() noexcept { repositionings_.fetch_add(1, std::memory_order_relaxed); }
  void noteUnderrun() noexcept { underruns_.fetch_add(1, std::memory_order_relaxed); }
  void noteDroppedBlock() noexcept { droppedBlocks_.fetch_add(1, std::memory_order_relaxed); }

  EngineStatistics statistics() const noexcept {
    return {.renderedBlocks = renderedBlocks_.load(std::memory_order_relaxed),
            .worstRender = std::chrono::nanoseconds(worstRender_.load(std::memory_order_relaxed)),
            .repositionings = repositionings_.load(std::memory_order_relaxed),
            .underruns = underruns_.load(std::memory_order_relaxed),
            .droppedBlocks = droppedBlocks_.load(std::memory_order_relaxed)};
  }

  void reset() noexcept {
    for (auto* counter : {&renderedBlocks_, &worstRender_, &repositionings_, &underruns_, &droppedBlocks_}) {
      counter->store(0, std::memory_order_relaxed);
    }
  }

 private:
  static_assert(std::atomic<std::int64_t>::is_always_lock_free);

  std::atomic<std::int64_t> renderedBlocks_{0};
  std::atomic<std::int64_t> worstRender_{0};  ///< in nanoseconds
  std::atomic<std::int64_t> repositionings_{0};
  std::atomic<std::int64_t> underruns_{0};
  std::atomic<std::int64_t> droppedBlocks_{0};
};

}  // namespace brindlemux
