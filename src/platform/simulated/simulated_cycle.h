#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/simulated/simulated_io.h"
#include "platform/simulated/simulated_objects.h"

namespace brindlemux {

/// Runs one callback of the program; a test may count in it what the callback does. Threads: those that run cycles.
using CallbackRunner = std::function<void(const std::function<void()>& callback)>;

/// One I/O cycle of a simulated device or aggregate device. What it needs is taken out of the server's tables first; it
/// then runs without them, on any thread, while the tables may change.
///
/// Threads: one at a time.
class SimulatedCycle {
 public:
  /// The samples of one block, channel by channel.
  using Block = std::vector<std::vector<float>>;

  /// Takes everything that the cycle of `frames` frames at `position` of the object's own clock needs.
  void take(const SimulatedObjects& objects, const SimulatedIO& io, AudioObjectID object, std::int64_t position,
            std::int64_t frames);

  /// Renders what is played into the device, then hands its input to the procedures.
  void run(const CallbackRunner& runner);

  /// What was played into the device.
  const Block& output() const noexcept { return output_; }

 private:
  struct Unit {
    std::shared_ptr<CallbackGate<RenderCallback>> callback;
    std::uint32_t channels = 0;
  };

  void takeDevice(const SimulatedObjects& objects, const SimulatedIO& io, AudioObjectID id,
                  const SimulatedDevice& device);
  void takeTap(const SimulatedObjects& objects, const TapDescription& tap);
  void addUnit(const Unit& unit, const CallbackRunner& runner);
  void fillInput();
  void deliverInput(const CallbackRunner& runner);

  std::int64_t position_ = 0;
  std::int64_t frames_ = 0;
  std::size_t outputChannels_ = 0;
  SimulatedInput inputKind_ = SimulatedInput::signal;
  std::vector<std::uint32_t> inputBuffers_;
  std::vector<Unit> units_;
  std::vector<SimulatedSignal> played_;
  /// What sounds in the input: the device's own signal, or for an aggregate a list for each of its taps.
  std::vector<std::vector<SimulatedSignal>> heard_;
  std::vector<std::shared_ptr<CallbackGate<IOBlock>>> procs_;

  Block output_;
  Block input_;
  /// A unit's or procedure's interleaved view of a block.
  std::vector<float> interleaved_;
};

}  // namespace brindlemux
