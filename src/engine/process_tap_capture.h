#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/engine_services.h"
#include "engine/source_ring.h"
#include "platform/audio_types.h"

namespace brindlemux {

/// Captures the audio of processes, or of the whole system but this program, into a stereo ring. Owns the process tap,
/// the private aggregate device that gives it a clock, and the I/O procedure.
class ProcessTapCapture {
 public:
  /// Starts capturing the listed processes, or all system audio for none. `bufferFrames` is the I/O block size asked
  /// for; the ring counts in `counters`. Threads: the main thread. Errors: AudioRouterError; nothing is left behind.
  ProcessTapCapture(const EngineServices& services, std::optional<std::vector<AudioObjectID>> processObjectIDs,
                    std::int64_t bufferFrames,
                    std::shared_ptr<EngineCounters> counters = std::make_shared<EngineCounters>());
  ~ProcessTapCapture();
  ProcessTapCapture(const ProcessTapCapture&) = delete;
  ProcessTapCapture& operator=(const ProcessTapCapture&) = delete;

  /// Shared, since mix plans may outlive the capture.
  const std::shared_ptr<SourceRing>& ring() const noexcept;
  /// The device that clocks the tap.
  const std::string& clockUID() const noexcept;

  /// Releases everything; no callback runs once it returns. Idempotent. Threads: the main thread.
  void cleanup();

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace brindlemux
