#include "platform/pipewire/stream_processes.h"

#include <algorithm>

namespace brindlemux {

CaptureProcess::CaptureProcess(std::uint32_t channels, IOBlock block)
    : block_(std::move(block)), buffers_(channels), unlinked_(channels), silence_(maximumCycleFrames) {}

void CaptureProcess::process(std::span<float* const> inputs, std::span<float* const> /*outputs*/,
                             std::uint32_t frames) noexcept {
  if (!hasStarted_) deliver(unlinked_, frames);
  hasStarted_ = true;
  deliver(inputs, frames);
}

void CaptureProcess::deliver(std::span<float* const> inputs, std::uint32_t frames) noexcept {
  for (std::size_t i = 0; i < buffers_.size(); ++i) {
    buffers_[i] = {.channels = 1,
                   .byteSize = frames * static_cast<std::uint32_t>(sizeof(float)),
                   .data = inputs[i] != nullptr ? inputs[i] : silence_.data()};
  }
  block_(buffers_);
}

PlaybackProcess::PlaybackProcess(std::uint32_t channels, RenderCallback render)
    : render_(std::move(render)), interleaved_(std::size_t{channels} * maximumCycleFrames) {}

void PlaybackProcess::process(std::span<float* const> /*inputs*/, std::span<float* const> outputs,
                              std::uint32_t frames) noexcept {
  const std::size_t channels = outputs.size();
  const AudioBuffer buffer = {.channels = static_cast<std::uint32_t>(channels),
                              .byteSize = static_cast<std::uint32_t>(frames * channels * sizeof(float)),
                              .data = interleaved_.data()};
  if (render_({&buffer, 1}, frames) != noErr) std::fill_n(interleaved_.begin(), frames * channels, 0.0F);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    float* const out = outputs[channel];
    if (out == nullptr) continue;
    const float* in = interleaved_.data() + channel;
    for (std::uint32_t frame = 0; frame < frames; ++frame, in += channels) out[frame] = *in;
  }
}

}  // namespace brindlemux
