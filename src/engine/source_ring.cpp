#include "engine/source_ring.h"

#include <algorithm>
#include <mutex>
#include <utility>

#include "model/fatal_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

// Bounds in frames of a reader's distance from the newest frame: a large callback counts as one of 4096 at the most, so
// that a single unusual one does not push up every reader's latency for good.
constexpr std::int64_t maximumLagFrames = 4096;
constexpr std::int64_t minimumSlackFrames = 2400;

/// The beginning of a ring is repeated behind its end, so that a read of up to as many frames is in one piece wherever
/// it begins. A small part of the ring, since what lies in it is written twice.
std::int64_t mirrorOf(std::int64_t capacity) noexcept {
  constexpr std::int64_t mostFrames = 4096;
  return std::clamp(capacity / 16, std::int64_t{0}, mostFrames);
}

std::int64_t sum(std::int64_t first, std::int64_t second) noexcept {
  std::int64_t result = 0;
  if (__builtin_add_overflow(first, second, &result)) fatalError("overflow of a ring's frame position");
  return result;
}

std::size_t storageSize(std::int64_t channels, std::int64_t capacityFrames, std::int64_t mirrorFrames) {
  if (capacityFrames < 0) fatalError("a ring of negative capacity");
  std::int64_t frames = 0;
  std::int64_t samples = 0;
  std::int64_t bytes = 0;
  if (__builtin_add_overflow(capacityFrames, mirrorFrames, &frames) ||
      __builtin_mul_overflow(channels, frames, &samples) ||
      __builtin_mul_overflow(samples, static_cast<std::int64_t>(sizeof(float)), &bytes)) {
    fatalError("overflow of a ring's size");
  }
  return static_cast<std::size_t>(samples);
}

/// How far behind the newest frame a reader is placed, and how much further it may fall.
struct LagBounds {
  std::int64_t reset;
  std::int64_t slack;
};

LagBounds lagBounds(std::int64_t maxWriteFrames, std::int64_t frames) noexcept {
  const std::int64_t lag = sum(std::max(maxWriteFrames, frames), frames);
  return {.reset = std::min(lag, maximumLagFrames),
          .slack = std::min(std::max(lag, minimumSlackFrames), maximumLagFrames)};
}

/// What one is worth in units of 2^-64 when divided by a ring's capacity.
std::uint64_t inverseOf(std::int64_t capacity) noexcept {
  return capacity == 0 ? 0 : UINT64_MAX / static_cast<std::uint64_t>(capacity);
}

/// Calls `body(slot, offset, length)` for each stretch of `frames` frames that is contiguous in a ring, beginning at
/// `slot`; `offset` is the number of frames before it.
template <typename Body>
void forEachStretch(std::int64_t slot, std::int64_t frames, std::int64_t capacity, Body body) noexcept {
  for (std::int64_t offset = 0; offset < frames;) {
    const std::int64_t length = std::min(frames - offset, capacity - slot);
    body(slot, offset, length);
    offset += length;
    slot = 0;
  }
}

bool isPlanar(const CapturedBuffer& buffer) noexcept {
  return !buffer.planar.empty() && std::ranges::none_of(buffer.planar, [](const float* data) { return !data; });
}

bool isInterleaved(const CapturedBuffer& buffer) noexcept {
  return buffer.planar.empty() && buffer.interleaved != nullptr && buffer.interleavedChannels > 0;
}

}  // namespace

SourceRing::SourceRing(std::int64_t channels, std::int64_t capacityFrames, const Kernels& kernels,
                       std::shared_ptr<EngineCounters> counters)
    : kernels_(kernels),
      channels_(std::clamp(channels, std::int64_t{1}, maximumChannels)),
      capacity_(capacityFrames),
      inverseCapacity_(inverseOf(capacityFrames)),
      mirror_(mirrorOf(capacityFrames)),
      storage_(storageSize(channels_, capacityFrames, mirror_)),
      peakAccum_(static_cast<std::size_t>(channels_)),
      counters_(std::move(counters)) {}

void SourceRing::write(const CapturedBuffer& buffer) noexcept {
  if (buffer.frames == 0) return;
  if (buffer.frames < 0) fatalError("a captured buffer of negative length");
  if (capacity_ == 0) fatalError("a ring without capacity");
  // Nobody but the writer moves the head, so that this need not wait for the lock.
  const std::int64_t slot = slotOf(head_);
  const bool planar = isPlanar(buffer);
  const bool interleaved = isInterleaved(buffer);
  const std::int64_t newHead = planar || interleaved ? sum(head_, buffer.frames) : head_;
  const std::lock_guard guard(lock_);
  maxWriteFrames_ = std::max(maxWriteFrames_, std::min(buffer.frames, maximumLagFrames));
  if (planar) {
    raisePeaksAndCopyPlanar(slot, buffer);
  } else if (interleaved) {
    raisePeaksAndCopyInterleaved(slot, buffer);
  } else {
    counters_->noteDroppedBlock();
    return;
  }
  head_ = newHead;
}

void SourceRing::mirrorTheBeginning(std::int64_t slot, std::int64_t length) noexcept {
  const std::int64_t mirrored = std::min(length, mirror_ - slot);
  for (float* channel = storage_.data(); channel != storage_.data() + storage_.size(); channel += stride()) {
    std::copy_n(channel + slot, mirrored, channel + capacity_ + slot);
  }
}

void SourceRing::raisePeaksAndCopyPlanar(std::int64_t slot, const CapturedBuffer& buffer) noexcept {
  const std::size_t lastChannel = buffer.planar.size() - 1;
  const auto copy = kernels_.copyWithPeak;
  forEachStretch(slot, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
    float* ring = storage_.data() + at;
    for (std::size_t channel = 0; channel < peakAccum_.size(); ++channel) {
      copy(ring, buffer.planar[std::min(lastChannel, channel)] + offset, length, peakAccum_[channel]);
      ring += stride();
    }
    if (at < mirror_) [[unlikely]]
      mirrorTheBeginning(at, length);
  });
}

void SourceRing::raisePeaksAndCopyInterleaved(std::int64_t slot, const CapturedBuffer& buffer) noexcept {
  const std::int64_t step = buffer.interleavedChannels;
  forEachStretch(slot, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
    float* ring = storage_.data() + at;
    for (std::int64_t channel = 0; channel < channels_; ++channel) {
      const float* source = buffer.interleaved + std::min(step - 1, channel) + offset * step;
      for (std::int64_t i = 0; i < length; ++i) ring[i] = source[i * step];
      float& peak = peakAccum_[static_cast<std::size_t>(channel)].lanes[0];
      peak = std::max(peak, kernels_.peakMagnitude(ring, length));
      ring += stride();
    }
    if (at < mirror_) [[unlikely]]
      mirrorTheBeginning(at, length);
  });
}

/// `position` modulo the capacity, by multiplication: a division takes longer than a tap.
inline std::int64_t SourceRing::slotOf(std::int64_t position) const noexcept {
  const auto whole = static_cast<std::uint64_t>(position);
  const auto capacity = static_cast<std::uint64_t>(capacity_);
  __extension__ using Product = unsigned __int128;
  const auto laps = static_cast<std::uint64_t>((Product{whole} * inverseCapacity_) >> 64);
  // The inverse is rounded down, and that makes for one lap less at the most.
  const std::uint64_t slot = whole - laps * capacity;
  return static_cast<std::int64_t>(slot < capacity ? slot : slot - capacity);
}

void SourceRing::mixRead(std::int64_t frames, std::int64_t& cursor, std::span<float* const> buffers,
                         std::span<const Tap> taps) noexcept {
  if (frames < 1) return;
  // What the reader alone decides is done before the lock is there. While it is held, every branch that waits for the
  // head puts off its release, so that most readers are asked once: a lag that is allowed after short writes always is.
  std::int64_t position = cursor;
  std::int64_t slot = slotOf(position);
  const LagBounds least = lagBounds(0, frames);
  const std::int64_t alwaysKept = std::min(capacity_, least.slack + least.reset);
  std::int64_t available = 0;
  {
    const std::lock_guard guard(lock_);
    std::int64_t lag = head_ - std::max(position, std::int64_t{0});
    if (position < 0 || lag < 0 || lag > alwaysKept) [[unlikely]] {
      position = placed(position, frames);
      slot = slotOf(position);
      lag = head_ - position;
    }
    available = std::min(lag, frames);
    if (!taps.empty()) {
      if (capacity_ == 0) fatalError("a ring without capacity");
      // A reader never lags by more than the capacity, so that it comes round once at the most.
      PlanarWindow window = {
          .samples = storage_.data() + slot, .channels = channels_, .stride = stride(), .frames = available};
      const std::int64_t inOnePiece = stride() - slot;
      if (available > inOnePiece) [[unlikely]] {
        window.frames = inOnePiece;
        kernels_.addTaps(window, 0, buffers, taps);
        window.samples = storage_.data() + mirror_;
        window.frames = available - inOnePiece;
        kernels_.addTaps(window, inOnePiece, buffers, taps);
      } else {
        kernels_.addTaps(window, 0, buffers, taps);
      }
    }
  }
  cursor = position + available;
  if (available == frames) [[likely]]
    return;
  // Who runs dry stands at the head. A ring that nothing was written to yet lets nobody run dry.
  if (cursor > 0) counters_->noteUnderrun();
}

std::int64_t SourceRing::placed(std::int64_t position, std::int64_t frames) noexcept {
  const LagBounds bounds = lagBounds(maxWriteFrames_, frames);
  if (position >= 0) {
    const std::int64_t lag = head_ - position;
    if (lag >= 0 && lag <= std::min(capacity_, bounds.slack + bounds.reset)) return position;
    counters_->noteRepositioning();
  }
  return std::max(head_ - bounds.reset, std::int64_t{0});
}

std::vector<float> SourceRing::takePeaks() {
  // Allocated before the lock is taken and evaluated after, so that no render thread waits for either.
  std::vector<PeakLanes> taken(static_cast<std::size_t>(channels_));
  {
    const std::lock_guard guard(lock_);
    taken.swap(peakAccum_);
  }
  std::vector<float> peaks;
  peaks.reserve(taken.size());
  for (const PeakLanes& peak : taken) peaks.push_back(peak.largest());
  return peaks;
}

std::int64_t SourceRing::head() const noexcept {
  const std::lock_guard guard(lock_);
  return head_;
}

std::int64_t SourceRing::maxWriteFrames() const noexcept {
  const std::lock_guard guard(lock_);
  return maxWriteFrames_;
}

}  // namespace brindlemux
