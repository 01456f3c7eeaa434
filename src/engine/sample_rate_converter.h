#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "engine/converter_source.h"

namespace brindlemux {

/// Converts a stream of 1 to 16 channels from one sample rate to another, pulling its input as it needs it.
///
/// Between common rates the result is as exact as 32-bit samples allow (beyond 140 dB for a sine at 997 Hz); rates
/// without a small common multiple go through an interpolated filter (beyond 100 dB up to 10 kHz). Output begins with
/// the first input frame; the filter looks ahead by 96 frames of the lower rate, or a few more.
///
/// Threads: construction on the main thread; then one thread, which never allocates.
class SampleRateConverter {
 public:
  /// Nothing when the library cannot convert between these rates (Hz), or `channels` is not 1 to 16.
  static std::unique_ptr<SampleRateConverter> make(double inputHz, double outputHz, std::int64_t channels);
  /// The input frames, rounded down, that the filter takes in before the first output frame.
  static std::int64_t lookAheadFrames(double inputHz, double outputHz);
  ~SampleRateConverter();
  SampleRateConverter(const SampleRateConverter&) = delete;
  SampleRateConverter& operator=(const SampleRateConverter&) = delete;

  /// Fills up to `capacity` frames of every output channel; fewer only when the source had no data. Input that did not
  /// fit into the output is kept for the next call.
  ///
  /// Shapes:  one buffer of at least `capacity` floats a channel; the source hands over as many channels.
  /// Returns: the number of frames written.
  std::int64_t convert(ConverterSource& source, std::span<float* const> output, std::int64_t capacity) noexcept;

 private:
  struct State;
  explicit SampleRateConverter(std::unique_ptr<State> state);

  std::unique_ptr<State> state_;
};

}  // namespace brindlemux
