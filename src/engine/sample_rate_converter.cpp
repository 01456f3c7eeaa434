#include "engine/sample_rate_converter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <variant>
#include <vector>
#include <zita-resampler/resampler.h>
#include <zita-resampler/vresampler.h>

#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

/// Half the filter's length in frames of the lower rate; the longest that the library offers. It costs 2 ms of delay
/// where a device refuses 48000 Hz, and keeps images below -140 dB up to 15 kHz, where half of it would reach -119 dB.
constexpr unsigned int filterHalfLength = 96;

/// Frames that pass through the library at a time: small enough for 16 channels to stay in the first-level cache.
constexpr std::int64_t chunkFrames = 256;

bool isWholeRate(double hertz) {
  return hertz == std::floor(hertz) && hertz <= double{std::numeric_limits<int>::max()};
}

}  // namespace

struct SampleRateConverter::State {
  std::variant<Resampler, VResampler> resampler;
  std::int64_t channels = 0;
  double inputPerOutput = 1;

  // Interleaved, as the library wants them.
  std::vector<float> inputChunk;
  std::vector<float> outputChunk;
  std::int64_t chunkBegin = 0;
  std::int64_t chunkEnd = 0;

  /// What the source handed over last and where its unread part begins.
  ConverterInput held;
  std::int64_t heldBegin = 0;

  bool setUp(double inputHz, double outputHz);
  bool refill(ConverterSource& source, std::int64_t outputWanted) noexcept;
  std::int64_t process(std::int64_t frames) noexcept;
};

bool SampleRateConverter::State::setUp(double inputHz, double outputHz) {
  const auto channelCount = static_cast<unsigned int>(channels);
  bool ready =
      isWholeRate(inputHz) && isWholeRate(outputHz) &&
      std::get<Resampler>(resampler).setup(static_cast<unsigned int>(inputHz), static_cast<unsigned int>(outputHz),
                                           channelCount, filterHalfLength) == 0;
  if (!ready) ready = resampler.emplace<VResampler>().setup(outputHz / inputHz, channelCount, filterHalfLength) == 0;
  if (!ready) return false;
  inputPerOutput = inputHz / outputHz;
  inputChunk.resize(static_cast<std::size_t>(chunkFrames * channels));
  outputChunk.resize(static_cast<std::size_t>(chunkFrames * channels));
  // Half a filter of silence before the first frame: the output then begins with it.
  std::visit(
      [this](auto& library) {
        library.inp_count = static_cast<unsigned int>(library.inpsize() / 2 - 1);
        library.inp_data = nullptr;
        library.out_count = 1;
        library.out_data = outputChunk.data();
        library.process();
      },
      resampler);
  return true;
}

/// Brings the next frames into the input chunk. Returns whether there are any.
bool SampleRateConverter::State::refill(ConverterSource& source, std::int64_t outputWanted) noexcept {
  if (heldBegin == held.frames) {
    held = source.pull(static_cast<std::int64_t>(std::ceil(static_cast<double>(outputWanted) * inputPerOutput)));
    heldBegin = 0;
    if (held.frames <= 0 || std::ssize(held.channels) < channels) {
      held = {};
      return false;
    }
  }
  const std::int64_t frames = std::min(held.frames - heldBegin, chunkFrames);
  for (std::int64_t channel = 0; channel < channels; ++channel) {
    const float* from = held.channels[static_cast<std::size_t>(channel)] + heldBegin * held.stride;
    float* to = inputChunk.data() + channel;
    for (std::int64_t frame = 0; frame < frames; ++frame) to[frame * channels] = from[frame * held.stride];
  }
  heldBegin += frames;
  chunkBegin = 0;
  chunkEnd = frames;
  return true;
}

/// Runs the library on the input chunk until that is used up or `frames` frames stand in the output chunk. Returns how
/// many stand there.
std::int64_t SampleRateConverter::State::process(std::int64_t frames) noexcept {
  return std::visit(
      [this, frames](auto& library) noexcept {
        library.inp_count = static_cast<unsigned int>(chunkEnd - chunkBegin);
        library.inp_data = inputChunk.data() + chunkBegin * channels;
        library.out_count = static_cast<unsigned int>(frames);
        library.out_data = outputChunk.data();
        library.process();
        chunkBegin = chunkEnd - library.inp_count;
        return frames - std::int64_t{library.out_count};
      },
      resampler);
}

std::unique_ptr<SampleRateConverter> SampleRateConverter::make(double inputHz, double outputHz, std::int64_t channels) {
  if (!(inputHz > 0) || !(outputHz > 0) || !std::isfinite(inputHz) || !std::isfinite(outputHz)) return nullptr;
  if (channels < 1 || channels > maximumChannels) return nullptr;
  auto state = std::make_unique<State>();
  state->channels = channels;
  if (!state->setUp(inputHz, outputHz)) return nullptr;
  return std::unique_ptr<SampleRateConverter>(new SampleRateConverter(std::move(state)));
}

std::int64_t SampleRateConverter::lookAheadFrames(double inputHz, double outputHz) {
  return static_cast<std::int64_t>(filterHalfLength * std::max(1.0, inputHz / outputHz));
}

SampleRateConverter::SampleRateConverter(std::unique_ptr<State> state) : state_(std::move(state)) {}

SampleRateConverter::~SampleRateConverter() = default;

std::int64_t SampleRateConverter::convert(ConverterSource& source, std::span<float* const> output,
                                          std::int64_t capacity) noexcept {
  State& state = *state_;
  std::int64_t written = 0;
  while (written < capacity) {
    if (state.chunkBegin == state.chunkEnd && !state.refill(source, capacity - written)) break;
    const std::int64_t frames = state.process(std::min(capacity - written, chunkFrames));
    for (std::int64_t channel = 0; channel < state.channels; ++channel) {
      const float* from = state.outputChunk.data() + channel;
      float* to = output[static_cast<std::size_t>(channel)] + written;
      for (std::int64_t frame = 0; frame < frames; ++frame) to[frame] = from[frame * state.channels];
    }
    written += frames;
  }
  return written;
}

}  // namespace brindlemux
