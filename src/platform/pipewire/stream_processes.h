#pragma once

#include <cstdint>
#include <vector>

#include "platform/audio_hardware.h"
#include "platform/pipewire/filter_node.h"

namespace brindlemux {

/// Hands a filter's inputs to an I/O procedure as one mono buffer a channel; an unlinked channel is silent.
class CaptureProcess final : public FilterProcess {
 public:
  CaptureProcess(std::uint32_t channels, IOBlock block);
  void process(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames) noexcept override;

 private:
  IOBlock block_;
  std::vector<AudioBuffer> buffers_;
  std::vector<float> silence_;
};

/// Fills a filter's outputs from a render callback that writes one interleaved buffer.
class PlaybackProcess final : public FilterProcess {
 public:
  PlaybackProcess(std::uint32_t channels, RenderCallback render);
  void process(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames) noexcept override;

 private:
  RenderCallback render_;
  std::vector<float> interleaved_;
};

}  // namespace brindlemux
