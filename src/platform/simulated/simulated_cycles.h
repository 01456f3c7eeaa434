#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <vector>

#include "platform/simulated/simulated_cycle.h"
#include "platform/simulated/simulated_io.h"
#include "platform/simulated/simulated_objects.h"

namespace brindlemux {

/// When the I/O cycles of a simulated server fall due, in virtual time, which is counted in frames at 48000 Hz. A
/// device with something started on it runs one cycle whenever its own clock reaches the end of a block. Among cycles
/// that fall due together, captures run before outputs and an output that is looped back before the others, so that one
/// advance carries a block from its source to its last listener.
///
/// Borrows the server's tables and the lock that guards them. Threads: any, under the rules of each call.
class SimulatedCycles {
 public:
  /// The samples of one device's output, channel by channel.
  using Recording = SimulatedCycle::Block;

  SimulatedCycles(std::mutex& lock, const SimulatedObjects& objects, const SimulatedIO& io)
      : lock_(lock), objects_(objects), io_(io) {}

  /// What runs every callback of the program. Threads: while no cycle runs.
  void setCallbackRunner(CallbackRunner runner) { runner_ = std::move(runner); }

  /// Lets time pass: runs every cycle that falls due, in order, on the calling thread. Takes the lock, but not while a
  /// callback runs.
  void advance(std::int64_t frames);

  /// The same in parts: brings the clocks up to date and returns those that run; runs the cycles of one of them until a
  /// time, on the calling thread, one thread for a clock; then makes that time the present.
  std::vector<AudioObjectID> runningClocks();
  void runUntil(std::int64_t end, AudioObjectID clock, SimulatedCycle& cycle);
  void arriveAt(std::int64_t end);

  // With the lock held.

  /// Virtual time, in frames at 48000 Hz.
  std::int64_t now() const noexcept { return end_; }
  /// What has been played into the device since the last call.
  Recording takeOutput(AudioObjectID device);
  void deviceWasRemoved(AudioObjectID device);

 private:
  /// The clock of a device or aggregate. A block begins at `position` of its own frames; that it counts them from
  /// `originPosition` at the time `originTime` keeps it in step when its rate changes.
  struct Clock {
    double nominalHz = 0;
    double rateHz = 0;
    double originTime = 0;
    std::int64_t originPosition = 0;
    std::int64_t position = 0;
    std::uint32_t blockFrames = 0;
    std::size_t blocks = 0;
    int rank = 0;

    double timeOf(std::int64_t frame) const {
      return originTime + static_cast<double>(frame - originPosition) * 48000.0 / rateHz;
    }
    double due() const { return timeOf(position + blockFrames); }
  };
  /// What the tables say about a clock.
  struct Pace {
    double nominalHz = 0;
    double driftPPM = 0;
    std::uint32_t bufferFrames = 0;
    const std::vector<std::uint32_t>* blockPattern = nullptr;
  };

  void updateClocks();
  void updateClock(AudioObjectID object);
  void updateClock(AudioObjectID object, const Pace& pace);
  Pace paceOf(const SimulatedDevice& device) const;
  Pace paceOf(const SimulatedAggregate& aggregate) const;
  int rank(AudioObjectID object) const;
  AudioObjectID nextDue() const;
  void begin(AudioObjectID object, Clock& clock, SimulatedCycle& cycle);
  void record(AudioObjectID object, const SimulatedCycle& cycle);

  std::mutex& lock_;
  const SimulatedObjects& objects_;
  const SimulatedIO& io_;
  CallbackRunner runner_ = [](const std::function<void()>& callback) { callback(); };
  double now_ = 0;
  std::int64_t end_ = 0;
  std::map<AudioObjectID, Clock> clocks_;
  std::map<AudioObjectID, Recording> recordings_;
  SimulatedCycle cycle_;
};

}  // namespace brindlemux
