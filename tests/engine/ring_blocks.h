#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/source_ring.h"

// What tests write into a ring, and read out of it.

namespace brindlemux::test {

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

/// One output of `frames` floats, cleared, and what a read puts there.
inline std::vector<float> readOne(SourceRing& ring, std::int64_t& cursor, std::int64_t frames, float gain = 1.0F,
                                  std::int64_t channel = 0) {
  PlanarBuffers output(1, frames);
  const std::array taps = {Tap{.src = channel, .out = 0, .gain = gain}};
  inRealtime([&] { ring.mixRead(frames, cursor, output.pointers(), taps); });
  return output[0];
}

/// The last frames of a ring's channel; more than it has ever held are zeros.
inline std::vector<float> newest(SourceRing& ring, std::int64_t frames, std::int64_t channel = 0) {
  std::int64_t cursor = std::max(ring.head() - frames, std::int64_t{0});
  return readOne(ring, cursor, frames, 1.0F, channel);
}

inline void writePlanar(SourceRing& ring, const std::vector<std::vector<float>>& channels) {
  std::vector<const float*> pointers;
  for (const std::vector<float>& channel : channels) pointers.push_back(channel.data());
  const CapturedBuffer buffer = {.frames = static_cast<std::int64_t>(channels.front().size()), .planar = pointers};
  inRealtime([&] { ring.write(buffer); });
}

inline void writeInterleaved(SourceRing& ring, const std::vector<float>& samples, std::int64_t channels) {
  inRealtime([&] {
    ring.write({.frames = static_cast<std::int64_t>(samples.size()) / channels,
                .planar = {},
                .interleaved = samples.data(),
                .interleavedChannels = channels});
  });
}

}  // namespace brindlemux::test
