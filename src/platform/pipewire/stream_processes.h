#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "platform/audio_hardware.h"
#include "platform/pipewire/filter_node.h"
#include "platform/pipewire/tap_wiring.h"

namespace brindlemux {

/// Hands a filter's inputs to an I/O procedure as one mono buffer a channel; an unlinked channel is silent.
///
/// Within one cycle the server runs the program's nodes in any order, and the order may change from cycle to cycle. The
/// first cycle is therefore preceded by a silent block: a reader that has followed the capture from its first frame
/// then keeps a block in hand, and a cycle in which it comes before the capture does not tear its sound.
class CaptureProcess final : public FilterProcess {
 public:
  CaptureProcess(std::uint32_t channels, IOBlock block);
  void process(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames) noexcept override;

 private:
  void deliver(std::span<float* const> inputs, std::uint32_t frames) noexcept;

  IOBlock block_;
  bool hasStarted_ = false;
  std::vector<AudioBuffer> buffers_;
  /// A null pointer a channel: a block in which nothing is linked.
  std::vector<float*> unlinked_;
  std::vector<float> silence_;
};

/// Hands a tap's inputs, in the order of `TapInput`, to an I/O procedure as left and right: the centre and the surround
/// of a side are added to it at 3 dB less, as broadcasters mix five channels down to two. What is not linked adds
/// nothing, so that stereo passes bit by bit.
class TapProcess final : public FilterProcess {
 public:
  explicit TapProcess(IOBlock block);
  void process(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames) noexcept override;

 private:
  CaptureProcess capture_;
  std::array<std::vector<float>, 2> mixed_;
};

/// Fills a filter's outputs from a render callback that writes one interleaved buffer. What would have been played in
/// missed cycles is rendered and dropped, since a reader that has not read would otherwise stay that much later.
class PlaybackProcess final : public FilterProcess {
 public:
  PlaybackProcess(std::uint32_t channels, RenderCallback render);
  void process(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames) noexcept override;
  void missed(std::uint64_t frames) noexcept override;

 private:
  OSStatus render(std::uint32_t frames) noexcept;

  RenderCallback render_;
  const std::uint32_t channels_;
  std::vector<float> interleaved_;
};

}  // namespace brindlemux
