#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "engine/captured_buffer.h"
#include "engine/converter_source.h"
#include "engine/planar_buffer.h"
#include "engine/sample_rate_converter.h"
#include "engine/source_ring.h"

namespace brindlemux {

/// Brings captured audio to the engine's rate and writes it into a ring. Owns the converter.
///
/// Threads: construction and prepare() on the main thread, while nothing is processed; process() on the capture's.
class AudioNormalizer {
 public:
  /// Makes what process() needs to convert this rate (Hz) for a ring of this many channels; nothing at the engine's own
  /// rate. What is there already and still fits is kept.
  void prepare(double sampleRateHz, std::int64_t ringChannels);

  /// Writes one captured block into the ring, converted where its rate is not the engine's. A ring channel beyond the
  /// block's takes the block's last one. A block of a rate that was not prepared, or that cannot be converted, is
  /// dropped: the capture's thread must not build a converter.
  ///
  /// Threads: the capture's; takes the ring's lock; never allocates.
  void process(const CapturedBuffer& buffer, double sampleRateHz, SourceRing& ring) noexcept;

 private:
  /// Hands one captured block over, once.
  class Block;

  std::unique_ptr<SampleRateConverter> converter_;
  std::optional<double> converterInputHz_;
  std::int64_t outChannels_ = 0;
  PlanarBuffer outBuffer_;
};

}  // namespace brindlemux
