#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "engine/aligned_floats.h"
#include "engine/captured_buffer.h"
#include "engine/engine_counters.h"
#include "engine/kernels/kernels.h"
#include "engine/tap.h"
#include "engine/unfair_lock.h"

namespace brindlemux {

/// Frames per channel of every ring that a capture makes: two seconds at 48000 Hz.
inline constexpr std::int64_t captureRingFrames = 96000;

/// The buffer through which captured audio reaches every mix: one writer appends frames, any number of readers add
/// them, scaled, into their own outputs, each through a cursor of its own. Nobody waits for anybody: a reader that fell
/// too far behind or got ahead is moved to a fixed distance behind the newest frame.
///
/// Owns its samples. Shared by the capture that writes it and by the mix plans that read it, on the main thread; render
/// threads only borrow it.
class SourceRing {
 public:
  /// `channels` is clamped to 1 to 16. The kernels make no difference but of speed; they outlive the ring. What happens
  /// to readers is counted in `counters`. Errors: a negative capacity or an overflowing size is fatal.
  SourceRing(std::int64_t channels, std::int64_t capacityFrames, const Kernels& kernels = fastestKernels(),
             std::shared_ptr<EngineCounters> counters = std::make_shared<EngineCounters>());

  std::int64_t channels() const noexcept { return channels_; }
  std::int64_t capacity() const noexcept { return capacity_; }

  /// Appends one block and raises the peaks. Ring channels beyond the block's repeat its last channel; an unusable
  /// block is dropped, and counted.
  ///
  /// Threads: the capture's thread, one writer. Takes the ring's lock for the whole call; never allocates.
  /// Errors: an overflow of the frame position, or a ring without capacity, is fatal.
  void write(const CapturedBuffer& buffer) noexcept;

  /// Adds the frames that a reader has not heard yet into its output channels.
  ///
  /// Shapes:  every buffer holds at least `frames` floats; taps out of range are skipped.
  /// Units:   cursor is an absolute frame position, negative for a reader not yet positioned.
  /// Threads: any render thread, one reader per cursor. Takes the ring's lock for the whole call; never allocates.
  /// Errors:  none; on underrun only the available frames are added, and it is counted.
  void mixRead(std::int64_t frames, std::int64_t& cursor, std::span<float* const> buffers,
               std::span<const Tap> taps) noexcept;

  /// The largest magnitude per channel since the last call. Threads: the main thread.
  std::vector<float> takePeaks();

  /// Total frames ever written. Threads: any; takes the lock.
  std::int64_t head() const noexcept;
  /// The largest single write so far, at most 4096 frames. Threads: any; takes the lock.
  std::int64_t maxWriteFrames() const noexcept;
  /// What this ring counts in, and others with it. Threads: any.
  EngineCounters& counters() const noexcept { return *counters_; }

 private:
  std::int64_t stride() const noexcept { return capacity_ + mirror_; }
  void mirrorTheBeginning(std::int64_t slot, std::int64_t length) noexcept;
  void raisePeaksAndCopyPlanar(std::int64_t slot, const CapturedBuffer& buffer) noexcept;
  void raisePeaksAndCopyInterleaved(std::int64_t slot, const CapturedBuffer& buffer) noexcept;
  std::int64_t placed(std::int64_t position, std::int64_t frames) noexcept;
  std::int64_t slotOf(std::int64_t position) const noexcept;

  const Kernels& kernels_;
  const std::int64_t channels_;
  const std::int64_t capacity_;
  const std::uint64_t inverseCapacity_;
  /// So many frames from the beginning of each channel stand once more behind its end.
  const std::int64_t mirror_;
  /// `capacity_ + mirror_` samples a channel.
  AlignedFloats storage_;
  std::int64_t head_ = 0;
  mutable UnfairLock lock_;
  std::vector<PeakLanes> peakAccum_;
  std::int64_t maxWriteFrames_ = 0;
  const std::shared_ptr<EngineCounters> counters_;
};

}  // namespace brindlemux
