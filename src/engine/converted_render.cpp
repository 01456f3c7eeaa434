#include "engine/converted_render.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "platform/audio_router_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

/// 48 kHz frames beyond the computed need that a conversion may pull, so that its own granularity never starves it.
constexpr std::int64_t budgetMarginFrames = 64;
constexpr int maxConversionsPerBlock = 4;

std::unique_ptr<SampleRateConverter> makeConverter(double deviceRateHz, std::int64_t channels) {
  const auto engineFormat = standardFloatFormat(engineSampleRateHz, channels);
  const auto deviceFormat = standardFloatFormat(deviceRateHz, channels);
  if (engineFormat && deviceFormat) {
    auto converter = SampleRateConverter::make(engineFormat->sampleRateHz, deviceFormat->sampleRateHz, channels);
    if (converter != nullptr) return converter;
  }
  const std::string wholeRate = std::to_string(std::trunc(deviceRateHz));
  throw AudioRouterError("Device runs at " + wholeRate.substr(0, wholeRate.find('.')) +
                         " Hz and 48 kHz conversion setup failed");
}

/// A stretch of silence, once.
class Silence final : public ConverterSource {
 public:
  Silence(std::span<float* const> cleared, std::int64_t frames)
      : channels_(cleared.begin(), cleared.end()), frames_(frames) {}

  ConverterInput pull(std::int64_t) noexcept override {
    return {.channels = channels_, .frames = std::exchange(frames_, 0)};
  }

 private:
  const std::vector<const float*> channels_;
  std::int64_t frames_;
};

}  // namespace

ConvertedRender::ConvertedRender(const RenderFunction& render, double deviceRateHz, std::int64_t channels)
    : render_(render),
      channels_(channels),
      inputPerOutputFrame_(engineSampleRateHz / deviceRateHz),
      converter_(makeConverter(deviceRateHz, channels)),
      input_(channels, maximumRenderFrames),
      output_(channels, maximumRenderFrames),
      carry_(channels, maximumRenderFrames) {
  // The filter looks ahead into silence at first. A first callback that had to fill it would pull that much more than
  // those after it, and leave the reader of a ring too close behind its writer.
  Silence silence(input_.channels(), SampleRateConverter::lookAheadFrames(engineSampleRateHz, deviceRateHz));
  converter_->convert(silence, output_.channels(), maximumRenderFrames);
}

void ConvertedRender::fill(float* target, std::int64_t frames) noexcept {
  std::int64_t delivered = std::min(frames, carryCount_);
  carry_.interleave(carryOffset_, delivered, target);
  carryCount_ -= delivered;
  carryOffset_ = carryCount_ == 0 ? 0 : carryOffset_ + delivered;

  for (int conversion = 0; conversion < maxConversionsPerBlock && delivered < frames; ++conversion) {
    const std::int64_t needed = frames - delivered;
    inputBudget_ =
        static_cast<std::int64_t>(std::ceil(inputPerOutputFrame_ * static_cast<double>(needed))) + budgetMarginFrames;
    const std::int64_t produced = converter_->convert(*this, output_.channels(), maximumRenderFrames);
    const std::int64_t used = std::min(produced, needed);
    output_.interleave(0, used, target + delivered * channels_);
    delivered += used;
    if (produced == used) continue;
    carryCount_ = produced - used;
    for (std::int64_t channel = 0; channel < channels_; ++channel) {
      std::copy_n(output_.channel(channel) + used, carryCount_, carry_.channel(channel));
    }
  }
}

ConverterInput ConvertedRender::pull(std::int64_t requested) noexcept {
  if (inputBudget_ < 1) return {};
  const std::int64_t frames = std::min({requested, maximumRenderFrames, inputBudget_});
  input_.clear(frames);
  render_(input_.channels(), frames);
  inputBudget_ -= frames;
  return {.channels = input_.channels(), .frames = frames};
}

}  // namespace brindlemux
