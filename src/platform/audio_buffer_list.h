#pragma once

#include <cstdint>
#include <span>

namespace brindlemux {

/// One buffer of an I/O cycle: `channels` interleaved channels of 32-bit floats, `byteSize` bytes in all. Borrowed from
/// the audio server for the length of the callback.
struct AudioBuffer {
  std::uint32_t channels = 0;
  std::uint32_t byteSize = 0;
  float* data = nullptr;
};

/// The buffers of one I/O cycle in channel order.
using AudioBufferList = std::span<const AudioBuffer>;

}  // namespace brindlemux
