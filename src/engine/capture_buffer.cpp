#include "engine/capture_buffer.h"

#include <algorithm>

namespace brindlemux {
namespace {

std::int64_t channelCount(const AudioBuffer& buffer) { return std::max<std::int64_t>(buffer.channels, 1); }

/// The whole frames that a buffer holds.
std::int64_t frameCount(const AudioBuffer& buffer) {
  return buffer.byteSize / (std::int64_t{sizeof(float)} * channelCount(buffer));
}

}  // namespace

std::int64_t CaptureBuffer::fill(AudioBufferList input) noexcept {
  frames_ = 0;
  if (input.empty()) return 0;
  const std::int64_t frames = std::min(frameCount(input.front()), captureBufferFrames);
  if (frames == 0) return 0;

  const std::span<float* const> channels = samples_.channels();
  auto destination = channels.begin();
  for (const AudioBuffer& buffer : input) {
    const std::int64_t stride = channelCount(buffer);
    const std::int64_t held = buffer.data == nullptr ? 0 : std::min(frameCount(buffer), frames);
    for (std::int64_t channel = 0; channel < stride && destination != channels.end(); ++channel, ++destination) {
      for (std::int64_t frame = 0; frame < held; ++frame) {
        (*destination)[frame] = buffer.data[frame * stride + channel];
      }
      std::fill(*destination + held, *destination + frames, 0.0F);
    }
  }
  for (; destination != channels.end(); ++destination) std::fill_n(*destination, frames, 0.0F);
  frames_ = frames;
  return frames;
}

}  // namespace brindlemux
