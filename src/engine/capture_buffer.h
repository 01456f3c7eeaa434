#pragma once

#include <cstdint>

#include "engine/captured_buffer.h"
#include "engine/planar_buffer.h"
#include "platform/audio_buffer_list.h"
#include "platform/standard_float_format.h"

namespace brindlemux {

/// Frames that a capture takes from one I/O cycle at the most.
inline constexpr std::int64_t captureBufferFrames = 16384;

/// The planar block into which a capture gathers the buffers of one I/O cycle.
///
/// Threads: construction on the main thread; then the capture's thread, which never allocates.
class CaptureBuffer {
 public:
  explicit CaptureBuffer(const AudioFormat& format) : format_(format), samples_(format.channels, captureBufferFrames) {}

  const AudioFormat& format() const noexcept { return format_; }

  /// Takes one I/O cycle: the first buffer sets the length, the incoming channels fill this buffer's in turn, and
  /// whatever they leave is silence. Returns the frames taken; 0 for a cycle without usable sound.
  std::int64_t fill(AudioBufferList input) noexcept;

  /// What the last fill took.
  CapturedBuffer captured() const noexcept { return {.frames = frames_, .planar = samples_.channels()}; }

 private:
  AudioFormat format_;
  std::int64_t frames_ = 0;
  PlanarBuffer samples_;
};

}  // namespace brindlemux
