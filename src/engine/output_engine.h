#pragma once

#include <cstdint>
#include <memory>

#include "engine/engine_counters.h"
#include "engine/engine_services.h"
#include "engine/render_function.h"
#include "platform/audio_buffer_list.h"
#include "platform/audio_types.h"

namespace brindlemux {

/// Plays what a render function produces into one output device. The render function always works at 48000 Hz; a device
/// that refuses that rate gets a converted stream. Owns the output unit.
class OutputEngine {
 public:
  /// Starts playing. `channels` is clamped to 1 to 16; `bufferFrames` is the I/O block size asked for. How long the
  /// rendering of a block takes is told to `counters`.
  /// Threads: the main thread; may wait up to a second for the device to change its rate.
  /// Errors: AudioRouterError.
  OutputEngine(const EngineServices& services, AudioObjectID device, std::int64_t channels, std::int64_t bufferFrames,
               RenderFunction render, std::shared_ptr<EngineCounters> counters = std::make_shared<EngineCounters>());
  ~OutputEngine();
  OutputEngine(const OutputEngine&) = delete;
  OutputEngine& operator=(const OutputEngine&) = delete;

  std::int64_t channels() const noexcept;

  /// How many frames of the device's rate its last callback asked for; 0 before the first. Threads: any.
  std::int64_t blockFrames() const noexcept;

  /// Stops and disposes the unit; no callback runs once it returns. Idempotent. Threads: the main thread.
  void stop();

  /// The render callback's body: fills the device's first, interleaved buffer with `frameCount` frames.
  /// Threads: the device's render thread; never allocates, and enters the kernel at no time: the clock is read in
  /// memory that the kernel shares. Always answers noErr.
  OSStatus performRender(AudioBufferList output, std::uint32_t frameCount) noexcept;

 private:
  struct State;
  /// Shared with the unit's callback, which a server that refuses to stop it may go on calling: it plays silence then.
  std::shared_ptr<State> state_;
};

}  // namespace brindlemux
