#include "engine/source_ring.h"

#include <algorithm>
#include <array>
#include <bit>
#include <mutex>

#include "model/fatal_error.h"

namespace brindlemux {
namespace {

constexpr std::int64_t maximumChannels = 16;

// Bounds in frames of a reader's distance from the newest frame: a large callback counts as one of 4096 at the most, so
// that a single unusual one does not push up every reader's latency for good.
constexpr std::int64_t maximumLagFrames = 4096;
constexpr std::int64_t minimumSlackFrames = 2400;

// Taps are sorted by their output in lots of this many.
constexpr std::size_t tapsPerLot = 64;

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

/// Brings the inputs of one output together, in the order that they have. What different outputs receive does not
/// depend on the order in which they do. `fed` has bit output % 64 set for every output.
void sortByOutput(std::span<const ScaledInput> inputs, std::span<const std::size_t> outputs, std::uint64_t fed,
                  ScaledInput* sorted, std::size_t* sortedOutputs) noexcept {
  // For each bit a chain from its first input to its next. Outputs that share a bit may stay interleaved, which costs
  // passes, not correctness.
  static_assert(tapsPerLot < 255);
  constexpr std::uint8_t none = 255;
  std::array<std::uint8_t, 64> first;
  std::array<std::uint8_t, tapsPerLot> next;
  std::uint64_t seen = 0;
  for (std::size_t i = inputs.size(); i-- > 0;) {
    const std::size_t place = outputs[i] % 64;
    const std::uint64_t bit = std::uint64_t{1} << place;
    next[i] = (seen & bit) != 0 ? first[place] : none;
    first[place] = static_cast<std::uint8_t>(i);
    seen |= bit;
  }
  for (; fed != 0; fed &= fed - 1) {
    for (std::uint8_t i = first[static_cast<std::size_t>(std::countr_zero(fed))]; i != none; i = next[i]) {
      *sorted++ = inputs[i];
      *sortedOutputs++ = outputs[i];
    }
  }
}

bool isPlanar(const CapturedBuffer& buffer) noexcept {
  return !buffer.planar.empty() && std::ranges::none_of(buffer.planar, [](const float* data) { return !data; });
}

bool isInterleaved(const CapturedBuffer& buffer) noexcept {
  return buffer.planar.empty() && buffer.interleaved != nullptr && buffer.interleavedChannels > 0;
}

}  // namespace

SourceRing::SourceRing(std::int64_t channels, std::int64_t capacityFrames, const Kernels& kernels)
    : kernels_(kernels),
      channels_(std::clamp(channels, std::int64_t{1}, maximumChannels)),
      capacity_(capacityFrames),
      storage_(storageSize(channels_, capacityFrames)),
      peakAccum_(static_cast<std::size_t>(channels_)) {}

void SourceRing::write(const CapturedBuffer& buffer) noexcept {
  if (buffer.frames == 0) return;
  if (buffer.frames < 0) fatalError("a captured buffer of negative length");
  const std::lock_guard guard(lock_);
  maxWriteFrames_ = std::max(maxWriteFrames_, std::min(buffer.frames, maximumLagFrames));
  if (capacity_ == 0) fatalError("a ring without capacity");
  const std::int64_t newHead = sum(head_, buffer.frames);
  if (isPlanar(buffer)) {
    raisePeaksAndCopyPlanar(buffer);
  } else if (isInterleaved(buffer)) {
    raisePeaksAndCopyInterleaved(buffer);
  } else {
    return;
  }
  head_ = newHead;
  headSlot_ += buffer.frames;
  if (headSlot_ >= capacity_) headSlot_ %= capacity_;
}

void SourceRing::raisePeaksAndCopyPlanar(const CapturedBuffer& buffer) noexcept {
  const auto lastChannel = static_cast<std::int64_t>(buffer.planar.size()) - 1;
  for (std::int64_t channel = 0; channel < channels_; ++channel) {
    const float* source = buffer.planar[static_cast<std::size_t>(std::min(lastChannel, channel))];
    float* ring = storage_.data() + channel * capacity_;
    float& peak = peakAccum_[static_cast<std::size_t>(channel)];
    forEachStretch(headSlot_, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
      peak = std::max(peak, kernels_.copyWithPeak(ring + at, source + offset, length));
    });
  }
}

void SourceRing::raisePeaksAndCopyInterleaved(const CapturedBuffer& buffer) noexcept {
  const std::int64_t stride = buffer.interleavedChannels;
  for (std::int64_t channel = 0; channel < channels_; ++channel) {
    const float* source = buffer.interleaved + std::min(stride - 1, channel);
    float* ring = storage_.data() + channel * capacity_;
    float& peak = peakAccum_[static_cast<std::size_t>(channel)];
    forEachStretch(headSlot_, buffer.frames, capacity_, [&](std::int64_t at, std::int64_t offset, std::int64_t length) {
      for (std::int64_t i = 0; i < length; ++i) ring[at + i] = source[(offset + i) * stride];
      peak = std::max(peak, kernels_.peakMagnitude(ring + at, length));
    });
  }
}

// As unsigned numbers, negative channels are too large.
inline bool SourceRing::isInRange(const Tap& tap, std::size_t outputs) const noexcept {
  return static_cast<std::uint64_t>(tap.src) < static_cast<std::uint64_t>(channels_) &&
         static_cast<std::uint64_t>(tap.out) < outputs;
}

inline ScaledInput SourceRing::inputOf(const Tap& tap) const noexcept {
  return {.samples = storage_.data() + tap.src * capacity_, .gain = tap.gain};
}

inline void SourceRing::addPass(std::int64_t slot, std::int64_t frames, float* output,
                                std::span<const ScaledInput> inputs) const noexcept {
  const auto count = static_cast<std::int64_t>(inputs.size());
  const std::int64_t beforeTheEnd = std::min(frames, capacity_ - slot);
  kernels_.addScaled(output, inputs.data(), count, slot, beforeTheEnd);
  // A reader never lags by more than the capacity, so there is one wrap at the most.
  if (beforeTheEnd < frames) {
    kernels_.addScaled(output + beforeTheEnd, inputs.data(), count, 0, frames - beforeTheEnd);
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
    if (taps.size() == 1) {
      const Tap& tap = taps.front();
      if (isInRange(tap, buffers.size())) {
        const ScaledInput input = inputOf(tap);
        addPass(slotOf(cursor), available, buffers[static_cast<std::size_t>(tap.out)], {&input, 1});
      }
    } else {
      addTaps(slotOf(cursor), available, buffers, taps);
    }
  }
  cursor += available;
}

/// The slot of a position that is not past the head.
std::int64_t SourceRing::slotOf(std::int64_t position) const noexcept {
  const std::int64_t distance = head_ - position;
  // A reader that was just repositioned in a very short ring.
  if (distance > capacity_) return position % capacity_;
  return distance <= headSlot_ ? headSlot_ - distance : headSlot_ - distance + capacity_;
}

void SourceRing::addTaps(std::int64_t slot, std::int64_t frames, std::span<float* const> buffers,
                         std::span<const Tap> taps) const noexcept {
  while (!taps.empty()) {
    const std::span<const Tap> lot = taps.first(std::min(taps.size(), tapsPerLot));
    taps = taps.subspan(lot.size());

    std::array<ScaledInput, tapsPerLot> listed;
    std::array<std::size_t, tapsPerLot> listedOutputs;
    std::size_t count = 0;
    std::uint64_t fed = 0;
    bool isSorted = true;
    for (const Tap& tap : lot) {
      if (!isInRange(tap, buffers.size())) continue;
      const auto output = static_cast<std::size_t>(tap.out);
      listed[count] = inputOf(tap);
      listedOutputs[count] = output;
      // Outputs with the same bit only make for more passes.
      const std::uint64_t bit = std::uint64_t{1} << (output % 64);
      if ((fed & bit) != 0 && listedOutputs[count - 1] != output) isSorted = false;
      fed |= bit;
      ++count;
    }

    const ScaledInput* inputs = listed.data();
    const std::size_t* outputs = listedOutputs.data();
    std::array<ScaledInput, tapsPerLot> sorted;
    std::array<std::size_t, tapsPerLot> sortedOutputs;
    if (!isSorted) {
      sortByOutput({listed.data(), count}, {listedOutputs.data(), count}, fed, sorted.data(), sortedOutputs.data());
      inputs = sorted.data();
      outputs = sortedOutputs.data();
    }
    for (std::size_t first = 0; first < count;) {
      std::size_t end = first + 1;
      while (end < count && outputs[end] == outputs[first]) ++end;
      addPass(slot, frames, buffers[outputs[first]], {inputs + first, end - first});
      first = end;
    }
  }
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
