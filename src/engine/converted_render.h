#pragma once

#include <cstdint>
#include <memory>

#include "engine/converter_source.h"
#include "engine/planar_buffer.h"
#include "engine/render_function.h"
#include "engine/sample_rate_converter.h"

namespace brindlemux {

/// What a render function produces, at the rate of a device that refuses 48000 Hz. What a conversion yields beyond one
/// block waits for the next.
///
/// Threads: construction on the main thread; then the device's render thread, which never allocates.
class ConvertedRender final : private ConverterSource {
 public:
  /// `render` is borrowed. Errors: AudioRouterError where there is no conversion to this rate (Hz).
  ConvertedRender(const RenderFunction& render, double deviceRateHz, std::int64_t channels);

  /// Writes `frames` frames, at most `maximumRenderFrames`, interleaved; where the converter yields fewer, the rest is
  /// left as it is.
  void fill(float* target, std::int64_t frames) noexcept;

 private:
  ConverterInput pull(std::int64_t requested) noexcept override;

  const RenderFunction& render_;
  const std::int64_t channels_;
  const double inputPerOutputFrame_;
  const std::unique_ptr<SampleRateConverter> converter_;
  PlanarBuffer input_;
  PlanarBuffer output_;
  /// Frames that the conversion under way may still pull.
  std::int64_t inputBudget_ = 0;
  PlanarBuffer carry_;
  std::int64_t carryCount_ = 0;
  std::int64_t carryOffset_ = 0;
};

}  // namespace brindlemux
