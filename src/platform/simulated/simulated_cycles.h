#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "platform/simulated/simulated_io.h"
#include "platform/simulated/simulated_objects.h"

namespace brindlemux {

/// Runs the I/O cycles of a simulated server on virtual time, which is counted in frames at 48000 Hz. A device with
/// something started on it runs one cycle of its own block size whenever its own clock reaches the end of a block.
/// Among cycles that fall due together, captures run before outputs and an output that is looped back before the
/// others, so that one advance carries a block from its source to its last listener.
///
/// Borrows the objects and the I/O procedures. Threads: one at a time; callbacks run inside advance().
class SimulatedCycles {
 public:
  /// The samples of one device's output, channel by channel.
  using Recording = std::vector<std::vector<float>>;

  SimulatedCycles(SimulatedObjects& objects, const SimulatedIO& io) : objects_(objects), io_(io) {}

  /// Lets time pass.
  void advance(std::int64_t frames);

  /// Virtual time, in frames at 48000 Hz.
  std::int64_t now() const noexcept { return end_; }

  /// What has been played into the device since the last call.
  Recording takeOutput(AudioObjectID device);

  void deviceWasRemoved(AudioObjectID device);

 private:
  /// A device or aggregate whose cycles run; `position` is where the next block begins on its own clock.
  struct Clock {
    double rateHz = 0;
    std::uint32_t bufferFrames = 0;
    int rank = 0;
    std::int64_t position = 0;
    double due() const { return (static_cast<double>(position) + bufferFrames) * 48000.0 / rateHz; }
  };

  void updateClocks();
  void updateClock(AudioObjectID object, double rateHz, std::uint32_t bufferFrames);
  int rank(AudioObjectID object);
  void runCycle(AudioObjectID object, const Clock& clock);
  void renderOutput(AudioObjectID id, const SimulatedDevice& device, const Clock& clock);
  void addUnit(const SimulatedUnit& unit, std::int64_t frames);
  void addPlayingProcesses(const SimulatedDevice& device, const Clock& clock);
  void fillInput(const SimulatedDevice& device, const Clock& clock);
  void fillTap(const TapDescription& tap, const Clock& clock);
  void deliverInput(AudioObjectID object, std::span<const std::uint32_t> channelsPerBuffer, std::int64_t frames);

  SimulatedObjects& objects_;
  const SimulatedIO& io_;
  double now_ = 0;
  std::int64_t end_ = 0;
  std::map<AudioObjectID, Clock> clocks_;
  std::map<AudioObjectID, Recording> recordings_;

  // The block of the running cycle, channel by channel, and a unit's or procedure's interleaved view of it.
  Recording output_;
  Recording input_;
  std::vector<float> interleaved_;
};

}  // namespace brindlemux
