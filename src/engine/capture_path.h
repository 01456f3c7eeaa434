#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "engine/audio_normalizer.h"
#include "engine/capture_buffer.h"
#include "engine/source_ring.h"
#include "platform/audio_buffer_list.h"

namespace brindlemux {

/// The way of one captured I/O cycle into a ring: gathered into a planar block, brought to the engine's rate, written.
///
/// Threads: construction on the main thread; then the capture's thread, which never allocates.
class CapturePath {
 public:
  /// `format` is the device's: its rate and the channels to gather. The ring is shared with its capture.
  CapturePath(const AudioFormat& format, std::shared_ptr<SourceRing> ring) : buffer_(format), ring_(std::move(ring)) {
    normalizer_.prepare(format.sampleRateHz, ring_->channels());
  }

  /// The I/O block's body. Takes the ring's lock.
  void take(AudioBufferList input) noexcept {
    if (!input.empty() && input.front().channels > 0) {
      const std::int64_t bytesPerFrame = std::int64_t{sizeof(float)} * input.front().channels;
      blockFrames_.store(input.front().byteSize / bytesPerFrame, std::memory_order_relaxed);
    }
    if (buffer_.fill(input) == 0) return;
    normalizer_.process(buffer_.captured(), buffer_.format().sampleRateHz, *ring_);
  }

  /// The length of the last cycle in frames of the device's rate, 0 before the first. Threads: any.
  std::int64_t blockFrames() const noexcept { return blockFrames_.load(std::memory_order_relaxed); }

 private:
  std::atomic<std::int64_t> blockFrames_ = 0;
  CaptureBuffer buffer_;
  AudioNormalizer normalizer_;
  const std::shared_ptr<SourceRing> ring_;
};

}  // namespace brindlemux
