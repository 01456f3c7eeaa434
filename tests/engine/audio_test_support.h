#pragma once

#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <span>
#include <utility>
#include <vector>

#include "engine/captured_buffer.h"
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

}  // namespace brindlemux::test
