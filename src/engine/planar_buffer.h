#pragma once

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <span>
#include <vector>

#include "engine/aligned_floats.h"

namespace brindlemux {

/// Owns one float buffer a channel, all of one length, zeroed at creation, each beginning with a cache line. Threads:
/// as its owner says; only construction and moves allocate or free.
class PlanarBuffer {
 public:
  PlanarBuffer() = default;
  PlanarBuffer(std::int64_t channels, std::int64_t frames)
      : samples_(static_cast<std::size_t>(channels * stride(frames)), 0.0F) {
    for (std::int64_t channel = 0; channel < channels; ++channel) {
      channels_.push_back(samples_.data() + channel * stride(frames));
    }
  }
  PlanarBuffer(PlanarBuffer&&) noexcept = default;
  PlanarBuffer& operator=(PlanarBuffer&&) noexcept = default;

  std::span<float* const> channels() const noexcept { return channels_; }
  float* channel(std::int64_t channel) const noexcept { return channels_[static_cast<std::size_t>(channel)]; }

  /// Silences the first `frames` frames of every channel.
  void clear(std::int64_t frames) noexcept {
    for (float* channel : channels_) std::fill_n(channel, frames, 0.0F);
  }

  /// Writes frames from `offset` on into a buffer of as many channels that are interleaved.
  void interleave(std::int64_t offset, std::int64_t frames, float* into) const noexcept {
    const std::int64_t step = std::ssize(channels_);
    for (const float* channel : channels_) {
      for (std::int64_t frame = 0; frame < frames; ++frame) into[frame * step] = channel[offset + frame];
      ++into;
    }
  }

 private:
  /// Whole cache lines, and an odd number of them: with an even one, like the powers of two that frames come in, the
  /// beginnings of all channels would compete for a few places in the first-level cache.
  static std::int64_t stride(std::int64_t frames) noexcept {
    constexpr std::int64_t line = cacheLineBytes / sizeof(float);
    return ((frames + line - 1) / line | 1) * line;
  }

  AlignedFloats samples_;
  std::vector<float*> channels_;
};

}  // namespace brindlemux
