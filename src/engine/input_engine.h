#pragma once

#include <cstdint>
#include <memory>

#include "engine/engine_services.h"
#include "engine/source_ring.h"
#include "platform/audio_types.h"

namespace brindlemux {

/// Captures an input device into a ring of min(its input channels, 16) channels. Owns the I/O procedure.
class InputEngine {
 public:
  /// Starts capturing. `bufferFrames` is the I/O block size asked for; the ring counts in `counters`. Threads: the main
  /// thread.
  /// Errors: AudioRouterError.
  InputEngine(const EngineServices& services, AudioObjectID device, std::int64_t bufferFrames,
              std::shared_ptr<EngineCounters> counters = std::make_shared<EngineCounters>());
  ~InputEngine();
  InputEngine(const InputEngine&) = delete;
  InputEngine& operator=(const InputEngine&) = delete;

  /// Shared, since mix plans may outlive the capture.
  const std::shared_ptr<SourceRing>& ring() const noexcept;

  /// How many frames of the device's rate its last callback brought; 0 before the first. Threads: any.
  std::int64_t blockFrames() const noexcept;

  /// Stops capturing; no callback runs once it returns. Idempotent. Threads: the main thread.
  void stop();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace brindlemux
