#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <semaphore>
#include <thread>

#include "platform/simulated/simulated_cycles.h"

namespace brindlemux {

/// Lets a simulated server's time pass on threads of its own, as fast as they can, until this object goes. Time passes
/// in short steps; within one, the cycles of different devices run at the same time when each has its own thread.
///
/// Threads: construction and destruction on one; the destructor waits for the callback that runs.
class SimulatedThreads {
 public:
  enum class Model {
    one,          ///< one data thread for all devices; cycles run in order
    onePerDevice  ///< a thread for each device or aggregate with something running on it
  };

  SimulatedThreads(SimulatedCycles& cycles, std::int64_t now, Model model);
  ~SimulatedThreads();
  SimulatedThreads(const SimulatedThreads&) = delete;
  SimulatedThreads& operator=(const SimulatedThreads&) = delete;

 private:
  /// The thread of one device.
  class Player;

  void conduct(std::int64_t now);

  SimulatedCycles& cycles_;
  const Model model_;
  std::atomic<bool> isEnding_ = false;
  std::map<AudioObjectID, std::unique_ptr<Player>> players_;
  std::thread conductor_;
};

}  // namespace brindlemux
