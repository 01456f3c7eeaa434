#include "platform/pipewire/stream_processes.h"

#include <algorithm>
#include <numbers>

namespace brindlemux {
namespace {

constexpr float downmixGain = 1.0F / std::numbers::sqrt2_v<float>;

void addScaled(float* into, const float* from, std::uint32_t frames) {
  for (std::uint32_t i = 0; i < frames; ++i) into[i] += downmixGain * from[i];
}

}  // namespace

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

TapProcess::TapProcess(IOBlock block) : capture_(2, std::move(block)) {
  for (auto& side : mixed_) side.resize(maximumCycleFrames);
}

void TapProcess::process(std::span<float* const> inputs, std::span<float* const> /*outputs*/,
                         std::uint32_t frames) noexcept {
  const auto input = [&](TapInput place) { return inputs[static_cast<std::size_t>(place)]; };
  const auto side = [&](TapInput front, TapInput surround, std::vector<float>& mixed) {
    const float* const centre = input(TapInput::centre);
    const float* const behind = input(surround);
    if (centre == nullptr && behind == nullptr) return input(front);
    if (input(front) == nullptr) {
      std::fill_n(mixed.begin(), frames, 0.0F);
    } else {
      std::copy_n(input(front), frames, mixed.begin());
    }
    if (centre != nullptr) addScaled(mixed.data(), centre, frames);
    if (behind != nullptr) addScaled(mixed.data(), behind, frames);
    return mixed.data();
  };
  const std::array<float*, 2> stereo = {side(TapInput::left, TapInput::leftSurround, mixed_[0]),
                                        side(TapInput::right, TapInput::rightSurround, mixed_[1])};
  capture_.process(stereo, {}, frames);
}

PlaybackProcess::PlaybackProcess(std::uint32_t channels, RenderCallback render)
    : render_(std::move(render)), channels_(channels), interleaved_(std::size_t{channels} * maximumCycleFrames) {}

OSStatus PlaybackProcess::render(std::uint32_t frames) noexcept {
  const AudioBuffer buffer = {.channels = channels_,
                              .byteSize = frames * channels_ * static_cast<std::uint32_t>(sizeof(float)),
                              .data = interleaved_.data()};
  return render_({&buffer, 1}, frames);
}

void PlaybackProcess::missed(std::uint64_t frames) noexcept {
  // A ring moves a reader that falls behind by more than this.
  if (frames <= maximumCycleFrames) render(static_cast<std::uint32_t>(frames));
}

void PlaybackProcess::process(std::span<float* const> /*inputs*/, std::span<float* const> outputs,
                              std::uint32_t frames) noexcept {
  const std::size_t channels = outputs.size();
  if (render(frames) != noErr) std::fill_n(interleaved_.begin(), frames * channels, 0.0F);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    float* const out = outputs[channel];
    if (out == nullptr) continue;
    const float* in = interleaved_.data() + channel;
    for (std::uint32_t frame = 0; frame < frames; ++frame, in += channels) out[frame] = *in;
  }
}

}  // namespace brindlemux
