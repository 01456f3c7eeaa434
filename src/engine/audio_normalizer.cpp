#include "engine/audio_normalizer.h"

#include <algorithm>
#include <array>

#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

constexpr std::int64_t maxOutFrames = 16384;

}  // namespace

class AudioNormalizer::Block final : public ConverterSource {
 public:
  Block(const CapturedBuffer& buffer, std::int64_t ringChannels) noexcept : frames_(buffer.frames) {
    const bool isPlanar = !buffer.planar.empty();
    if (!isPlanar && (buffer.interleaved == nullptr || buffer.interleavedChannels < 1)) {
      frames_ = 0;
      return;
    }
    stride_ = isPlanar ? 1 : buffer.interleavedChannels;
    const std::int64_t last = (isPlanar ? std::ssize(buffer.planar) : buffer.interleavedChannels) - 1;
    for (std::int64_t channel = 0; channel < ringChannels; ++channel) {
      const std::int64_t from = std::min(channel, last);
      channels_[static_cast<std::size_t>(channel)] =
          isPlanar ? buffer.planar[static_cast<std::size_t>(from)] : buffer.interleaved + from;
    }
  }

  ConverterInput pull(std::int64_t) noexcept override {
    const std::int64_t frames = frames_;
    frames_ = 0;
    return {.channels = channels_, .stride = stride_, .frames = frames};
  }

 private:
  std::array<const float*, maximumChannels> channels_{};
  std::int64_t stride_ = 1;
  std::int64_t frames_ = 0;
};

void AudioNormalizer::prepare(double sampleRateHz, std::int64_t ringChannels) {
  if (sampleRateHz == engineSampleRateHz) return;
  if (ringChannels != outChannels_) {
    outBuffer_ = PlanarBuffer(ringChannels, maxOutFrames);
    outChannels_ = ringChannels;
    converter_ = nullptr;
  }
  if (converter_ != nullptr && converterInputHz_ == sampleRateHz) return;
  converter_ = SampleRateConverter::make(sampleRateHz, engineSampleRateHz, ringChannels);
  converterInputHz_ = sampleRateHz;
}

void AudioNormalizer::process(const CapturedBuffer& buffer, double sampleRateHz, SourceRing& ring) noexcept {
  if (buffer.frames <= 0) return;
  if (sampleRateHz == engineSampleRateHz) {
    ring.write(buffer);
    return;
  }
  if (converter_ == nullptr || converterInputHz_ != sampleRateHz || outChannels_ != ring.channels()) {
    ring.counters().noteDroppedBlock();
    return;
  }
  Block block(buffer, outChannels_);
  // A block of a low rate grows beyond the output buffer; the converter runs until it has heard all of it.
  std::int64_t frames = maxOutFrames;
  while (frames == maxOutFrames) {
    frames = converter_->convert(block, outBuffer_.channels(), maxOutFrames);
    ring.write({.frames = frames, .planar = outBuffer_.channels()});
  }
}

}  // namespace brindlemux
