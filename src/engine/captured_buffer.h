#pragma once

#include <cstdint>
#include <span>

namespace brindlemux {

/// A block of captured audio, borrowed for the length of a call. Planar where `planar` holds a pointer per channel,
/// otherwise interleaved in `interleaved` with `interleavedChannels` channels; a buffer with neither is unusable.
struct CapturedBuffer {
  std::int64_t frames = 0;
  std::span<const float* const> planar;
  const float* interleaved = nullptr;
  std::int64_t interleavedChannels = 0;
};

}  // namespace brindlemux
