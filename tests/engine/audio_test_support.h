#pragma once

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <span>
#include <utility>
#include <vector>

#include "engine/captured_buffer.h"
#include "engine/source_ring.h"
#include "support/realtime_guard.h"

namespace brindlemux::test {

/// Runs what a render or capture callback runs; it must not allocate, free or block.
template <typename Body>
void inRealtime(Body&& body) {
  const RealtimeCounts counts = countedInRealtime(std::forward<Body>(body));
  EXPECT_EQ(counts, RealtimeCounts{});
}

/// Planar buffers of one length, cleared, as a render callback's caller hands them over.
class PlanarBuffers {
 public:
  PlanarBuffers(std::int64_t channels, std::int64_t frames) : samples_(static_cast<std::size_t>(channels)) {
    for (std::vector<float>& channel : samples_) {
      channel.resize(static_cast<std::size_t>(frames));
      writable_.push_back(channel.data());
      readable_.push_back(channel.data());
    }
  }
  PlanarBuffers(const PlanarBuffers&) = delete;
  PlanarBuffers& operator=(const PlanarBuffers&) = delete;

  std::span<float* const> pointers() const { return writable_; }
  CapturedBuffer captured() const {
    return {.frames = static_cast<std::int64_t>(samples_.front().size()), .planar = readable_};
  }

  std::vector<float>& operator[](std::int64_t channel) { return samples_[static_cast<std::size_t>(channel)]; }

 private:
  std::vector<std::vector<float>> samples_;
  std::vector<float*> writable_;
  std::vector<const float*> readable_;
};

/// The sample that tests write at an absolute frame position of a channel: exact in 32 bits below position 4194304.
inline float payload(std::int64_t position, std::int64_t channel = 0) {
  return static_cast<float>(position) + 0.25F * static_cast<float>(channel);
}

/// Appends one planar block of payload at the ring's head.
inline void appendBlock(SourceRing& ring, std::int64_t frames, std::int64_t channels) {
  const std::int64_t first = ring.head();
  PlanarBuffers block(channels, frames);
  for (std::int64_t channel = 0; channel < channels; ++channel) {
    for (std::int64_t i = 0; i < frames; ++i) {
      block[channel][static_cast<std::size_t>(i)] = payload(first + i, channel);
    }
  }
  inRealtime([&] { ring.write(block.captured()); });
}

/// Appends payload until the head is at `position`, in blocks of `blockFrames` and a shorter last one.
inline void fillTo(SourceRing& ring, std::int64_t position, std::int64_t blockFrames, std::int64_t channels = 1) {
  while (ring.head() < position) {
    appendBlock(ring, position - ring.head() < blockFrames ? position - ring.head() : blockFrames, channels);
  }
}

}  // namespace brindlemux::test
