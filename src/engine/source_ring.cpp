#include "engine/source_ring.h"

#include <algorithm>
#include <limits>
#include <mutex>

#include "engine/soft_limiter.h"
#include "model/fatal_error.h"

namespace brindlemux {
namespace {

constexpr std::int64_t maximumChannels = 16;

// Bounds in frames of a reader's distance from the newest frame: a large callback counts as one of 4096 at the most, so
// that a single unusual one does not push up every reader's latency for good.
constexpr std::int64_t maximumLagFrames = 4096;
constexpr std::int64_t minimumSlackFrames = 2400;

std::int64_t sum(std::int64_t first, std::int64_t second) noexcept {
  std::int64_t result = 0;
  if (__builtin_add_overflow(first, second, &result)) fatalError("overflow of a ring's frame position");
  return result;
}

std::size_t storageSize(std::int64_t channels, std::int64_t capacityFrames) {
  if (capacityFrames < 0) fatalError("a ring of negative capacity");
  std::int64_t samples = 0;
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(channels, capacityFrames, &samples) ||
      __builtin_mul_overflow(samples, static_cast<std::int64_t>(sizeof(float)), &bytes)) {
    fatalError("overflow of a ring's size");
  }
  return static_cast<std::size_t>(samples);
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

/// The product is formed first, then added, each rounded to 32 bits.
void addScaled(float* __restrict into, const float* __restrict from, float gain, std::int64_t frames) noexcept {
  for (std::int64_t i = 0; i < frames; ++i) into[i] += gain * from[i];
}

float raised(float peak, const float* samples, std::int64_t frames) noexcept {
  return std::max(peak, peakMagnitude({samples, static_cast<std::size_t>(frames)}));
}

bool isPlanar(const CapturedBuffer& buffer) noexcept {
  return !buffer.planar.empty() && std::ranges::none_of(buffer.planar, [](const float* data) { return !data; });
}

bool isInterleaved(const CapturedBuffer& buffer) noexcept {
  return buffer.planar.empty() && buffer.interleaved != nullptr && buffer.interleavedChannels > 0;
}

}  // namespace

SourceRing::SourceRing(std::int64_t channels, std::int64_t capacityFrames)
    : channels_(std::clamp(channels, std::int64_t{1}, maximumChannels)),
      capacity_(capacityFrames),
      storage_(storageSize(channels_, capacityFrames)),
      peakAccum_(static_cast<std::size_t>(channels_)) {}

void SourceRing::write(const CapturedBuffer& buffer) noexcept {
  if (buffer.frames == 0) return;
  if (buffer.frames < 0) fatalError("a captured buffer of negative length");
  const std::lock_guard guard(lock_);
  maxWriteFrames_ = std::max(maxWriteFrames_, std::min(buffer.frames, maximumLagFrames));
  if (capacity_ == 0) fatalError("a ring without capacity");
  const std::int64_t slot = head_ % capacity_;
  const std::int64_t newHead = sum(head_, buffer.frames);
  if (isPlanar(buffer)) {
    raisePeaksAndCopyPlanar(buffer, slot);
  } else if (isInterleaved(buffer)) {
    raisePeaksAndCopyInterleaved(buffer, slot);
  } else {
    return;
  }
  head_ = newHead;
}

void SourceRing::raisePeaksAndCopyPlanar(const CapturedBuffer& buffer, std::int64_t slot) noexcept {
  const auto lastChannel = static_cast<std::int64_t>(buffer.planar.size()) - 1;
  for (std::int64_t channel = 0; channel < channels_; ++channel) {
    const float* source = buffer.planar[static_cast<std::size_t>(std::min(lastChannel, channel))];
    float* ring = storage_.data() + channel * capacity_;
    float& peak = peakAccum_[static_cast<std::size_t>(channel)];
    forEachStretch(slot, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
      std::copy_n(source + offset, length, ring + at);
      peak = raised(peak, ring + at, length);
    });
  }
}

void SourceRing::raisePeaksAndCopyInterleaved(const CapturedBuffer& buffer, std::int64_t slot) noexcept {
  const std::int64_t stride = buffer.interleavedChannels;
  for (std::int64_t channel = 0; channel < channels_; ++channel) {
    const float* source = buffer.interleaved + std::min(stride - 1, channel);
    float* ring = storage_.data() + channel * capacity_;
    float& peak = peakAccum_[static_cast<std::size_t>(channel)];
    forEachStretch(slot, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
      for (std::int64_t i = 0; i < length; ++i) ring[at + i] = source[(offset + i) * stride];
      peak = raised(peak, ring + at, length);
    });
  }
}

void SourceRing::mixRead(std::int64_t frames, std::int64_t& cursor, std::span<float* const> buffers,
                         std::span<const Tap> taps) noexcept {
  if (frames < 1) return;
  const std::lock_guard guard(lock_);
  const std::int64_t lag = sum(std::max(maxWriteFrames_, frames), frames);
  const std::int64_t reset = std::min(lag, maximumLagFrames);
  const std::int64_t slack = std::min(std::max(lag, minimumSlackFrames), maximumLagFrames);
  const bool keepsPlace =
      cursor >= 0 && cursor <= head_ && cursor >= head_ - capacity_ && head_ - cursor <= slack + reset;
  if (!keepsPlace) {
    if (cursor >= 0) ++repositionings_;
    cursor = std::max(head_ - reset, std::int64_t{0});
  }
  const std::int64_t available = std::min(head_ - cursor, frames);
  if (!taps.empty()) {
    if (capacity_ == 0) fatalError("a ring without capacity");
    const std::int64_t slot = cursor % capacity_;
    const auto outputs = static_cast<std::int64_t>(buffers.size());
    for (const Tap& tap : taps) {
      if (tap.src < 0 || tap.src >= channels_ || tap.out < 0 || tap.out >= outputs) continue;
      float* output = buffers[static_cast<std::size_t>(tap.out)];
      const float* ring = storage_.data() + tap.src * capacity_;
      forEachStretch(slot, available, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
        addScaled(output + offset, ring + at, tap.gain, length);
      });
    }
  }
  cursor += available;
}

std::vector<float> SourceRing::takePeaks() {
  // Made before the lock is taken, so that no render thread waits for the allocation.
  std::vector<float> peaks(static_cast<std::size_t>(channels_));
  const std::lock_guard guard(lock_);
  peaks.swap(peakAccum_);
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

std::int64_t SourceRing::repositionings() const noexcept {
  const std::lock_guard guard(lock_);
  return repositionings_;
}

}  // namespace brindlemux
