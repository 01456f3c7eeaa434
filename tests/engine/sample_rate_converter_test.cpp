#include "engine/sample_rate_converter.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <vector>

#include "engine/planar_buffer.h"
#include "support/realtime_guard.h"
#include "support/sine_fit.h"
#include "support/sine_tone.h"

namespace brindlemux {
namespace {

/// Hands planar samples over, no more than `blockFrames` at a time and `budget` in all until it is raised.
class PlanarSource final : public ConverterSource {
 public:
  explicit PlanarSource(std::vector<std::vector<float>> samples) : samples_(std::move(samples)) {
    pointers_.resize(samples_.size());
  }

  ConverterInput pull(std::int64_t frames) noexcept override {
    const std::int64_t available = std::min(budget, std::ssize(samples_.front()) - position_);
    const std::int64_t count = std::min({frames, available, blockFrames});
    for (std::size_t channel = 0; channel < samples_.size(); ++channel) {
      pointers_[channel] = samples_[channel].data() + position_;
    }
    position_ += count;
    budget -= count;
    return {.channels = pointers_, .frames = count};
  }

  std::int64_t position() const { return position_; }

  std::int64_t budget = std::numeric_limits<std::int64_t>::max();
  std::int64_t blockFrames = std::numeric_limits<std::int64_t>::max();

 private:
  std::vector<std::vector<float>> samples_;
  std::vector<const float*> pointers_;
  std::int64_t position_ = 0;
};

std::vector<float> sine(double frequencyHz, double sampleRateHz, std::size_t frames) {
  return test::sineTone(frames, frequencyHz, 0.5, sampleRateHz);
}

/// Everything that the converter makes of a source, asked for in blocks of `capacity`.
std::vector<std::vector<float>> convertAll(SampleRateConverter& converter, ConverterSource& source,
                                           std::int64_t channels, std::int64_t capacity) {
  std::vector<std::vector<float>> result(static_cast<std::size_t>(channels));
  PlanarBuffer block(channels, capacity);
  std::int64_t frames = capacity;
  while (frames == capacity) {
    frames = converter.convert(source, block.channels(), capacity);
    for (std::int64_t channel = 0; channel < channels; ++channel) {
      auto& samples = result[static_cast<std::size_t>(channel)];
      samples.insert(samples.end(), block.channel(channel), block.channel(channel) + frames);
    }
  }
  return result;
}

std::vector<float> convertMono(double inputHz, double outputHz, std::vector<float> samples) {
  const auto converter = SampleRateConverter::make(inputHz, outputHz, 1);
  PlanarSource source({std::move(samples)});
  return convertAll(*converter, source, 1, 8192).front();
}

struct Quality {
  double inputHz;
  double outputHz;
  double frequencyHz;
  double decibels;

  friend void PrintTo(const Quality& quality, std::ostream* stream) {
    *stream << quality.frequencyHz << " Hz from " << quality.inputHz << " Hz to " << quality.outputHz << " Hz";
  }
};

class SampleRateConverterQuality : public testing::TestWithParam<Quality> {};

TEST_P(SampleRateConverterQuality, keepsTheNoiseBelowTheSine) {
  const auto [inputHz, outputHz, frequencyHz, decibels] = GetParam();
  const auto input = sine(frequencyHz, inputHz, static_cast<std::size_t>(4 * inputHz));
  const auto output = convertMono(inputHz, outputHz, input);
  // The first second holds the beginning of the sine, which is no sine.
  const auto skipped = static_cast<std::size_t>(outputHz);
  const double measured = test::sineSignalToNoise(std::span(output).subspan(skipped), frequencyHz, outputHz);
  RecordProperty("decibels", std::to_string(measured));
  EXPECT_GT(measured, decibels);
}

INSTANTIATE_TEST_SUITE_P(Rates, SampleRateConverterQuality,
                         testing::Values(Quality{44100, 48000, 997, 140}, Quality{48000, 44100, 997, 140},
                                         Quality{44100, 48000, 15013, 135}, Quality{48000, 44100, 15013, 135},
                                         Quality{96000, 48000, 997, 140}, Quality{48000, 96000, 997, 140},
                                         Quality{192000, 48000, 997, 140}, Quality{16000, 48000, 997, 135},
                                         Quality{44056, 48000, 997, 120}, Quality{48000, 44056.5, 997, 120}));

TEST(SampleRateConverter, toneThatGoesThereAndBackStaysClean) {
  const auto there = convertMono(44100, 48000, sine(997, 44100, 4 * 44100));
  const auto back = convertMono(48000, 44100, there);
  const double measured = test::sineSignalToNoise(std::span(back).subspan(44100), 997, 44100);
  RecordProperty("decibels", std::to_string(measured));
  EXPECT_GT(measured, 135);
}

TEST(SampleRateConverter, tonesBeyondTheLowerRatesHalfAreRemoved) {
  // 23 kHz does not exist at 44100 Hz; half of that rate is 22050 Hz.
  const auto output = convertMono(48000, 44100, sine(23500, 48000, 48000));
  float peak = 0;
  for (std::size_t i = 1000; i + 1000 < output.size(); ++i) peak = std::max(peak, std::abs(output[i]));
  // -100 dB of a peak of 0.5
  EXPECT_LT(peak, 0.5F * 1e-5F);
}

TEST(SampleRateConverter, constantStaysConstant) {
  const auto output = convertMono(44100, 48000, std::vector<float>(44100, 0.25F));
  for (std::size_t i = 1000; i < output.size(); ++i) ASSERT_NEAR(output[i], 0.25F, 1e-5F) << i;
}

// An impulse at input frame 4410 is 0.1 s into the stream: frame 4800 of the output.
TEST(SampleRateConverter, outputBeginsWithTheFirstInputFrame) {
  std::vector<float> input(10000, 0.0F);
  input[4410] = 1;
  const auto output = convertMono(44100, 48000, input);
  EXPECT_EQ(std::max_element(output.begin(), output.end()) - output.begin(), 4800);
}

// 44100 frames in; the filter's look-ahead of 96 is still to come: (44100 - 96) * 48000 / 44100 = 47895.5...
TEST(SampleRateConverter, makesAsManyFramesAsTheRatesSay) {
  const auto output = convertMono(44100, 48000, std::vector<float>(44100, 0.0F));
  EXPECT_NEAR(static_cast<double>(output.size()), (44100.0 - 96.0) * 48000 / 44100, 2);
}

TEST(SampleRateConverter, blockSizesDoNotChangeTheStream) {
  const auto input = sine(997, 48000, 20000);
  const auto whole = convertMono(48000, 44100, input);
  for (const std::int64_t pull : {1, 7, 255, 256, 257, 4096}) {
    for (const std::int64_t capacity : {1, 64, 441, 8192}) {
      const auto converter = SampleRateConverter::make(48000, 44100, 1);
      PlanarSource source({input});
      source.blockFrames = pull;
      const auto pieces = convertAll(*converter, source, 1, capacity).front();
      ASSERT_EQ(pieces, whole) << "pulls of " << pull << ", capacity " << capacity;
    }
  }
}

TEST(SampleRateConverter, noDataEndsTheConversionAndTheStreamGoesOnLater) {
  const auto input = sine(997, 48000, 4000);
  const auto whole = convertMono(48000, 44100, input);
  const auto converter = SampleRateConverter::make(48000, 44100, 1);
  PlanarSource source({input});
  PlanarBuffer block(1, 8192);
  std::vector<float> pieces;
  for (int step = 0; step < 40; ++step) {
    source.budget = 100;
    const std::int64_t frames = converter->convert(source, block.channels(), 8192);
    EXPECT_EQ(source.budget, 0);
    pieces.insert(pieces.end(), block.channel(0), block.channel(0) + frames);
  }
  EXPECT_EQ(pieces, whole);
  source.budget = 0;
  EXPECT_EQ(converter->convert(source, block.channels(), 8192), 0);
}

TEST(SampleRateConverter, pullsNoMoreThanItNeeds) {
  const auto converter = SampleRateConverter::make(48000, 44100, 1);
  PlanarSource source({std::vector<float>(10000, 0.0F)});
  PlanarBuffer block(1, 441);
  for (int step = 0; step < 10; ++step) EXPECT_EQ(converter->convert(source, block.channels(), 441), 441);
  // 4410 frames at 44100 Hz are 4800 at 48000 Hz, and the filter looks less than 120 frames ahead.
  EXPECT_GE(source.position(), 4800);
  EXPECT_LT(source.position(), 4800 + 120);
}

TEST(SampleRateConverter, everyChannelIsConvertedByItself) {
  std::vector<std::vector<float>> input;
  for (int channel = 0; channel < 16; ++channel) input.push_back(sine(200 + 100 * channel, 44100, 5000));
  const auto converter = SampleRateConverter::make(44100, 48000, 16);
  PlanarSource source(input);
  const auto output = convertAll(*converter, source, 16, 1000);
  for (std::size_t channel = 0; channel < 16; ++channel) {
    const auto alone = convertMono(44100, 48000, input[channel]);
    ASSERT_EQ(output[channel].size(), alone.size());
    for (std::size_t i = 0; i < alone.size(); ++i) ASSERT_NEAR(output[channel][i], alone[i], 1e-6F);
  }
}

TEST(SampleRateConverter, readsInterleavedInput) {
  class Interleaved final : public ConverterSource {
   public:
    explicit Interleaved(const std::vector<float>& samples) : samples_(samples) {}
    ConverterInput pull(std::int64_t) noexcept override {
      channels_ = {samples_.data(), samples_.data() + 1};
      return {.channels = channels_, .stride = 2, .frames = std::exchange(frames_, 0)};
    }

   private:
    const std::vector<float>& samples_;
    std::array<const float*, 2> channels_{};
    std::int64_t frames_ = std::ssize(samples_) / 2;
  };
  const auto left = sine(440, 44100, 3000);
  const auto right = sine(880, 44100, 3000);
  std::vector<float> interleaved;
  for (std::size_t i = 0; i < left.size(); ++i) interleaved.insert(interleaved.end(), {left[i], right[i]});
  Interleaved interleavedSource(interleaved);
  PlanarSource planarSource({left, right});
  const auto one = SampleRateConverter::make(44100, 48000, 2);
  const auto other = SampleRateConverter::make(44100, 48000, 2);
  EXPECT_EQ(convertAll(*one, interleavedSource, 2, 8192), convertAll(*other, planarSource, 2, 8192));
}

TEST(SampleRateConverter, impossibleRatesAndChannelsGiveNothing) {
  const double infinity = std::numeric_limits<double>::infinity();
  EXPECT_EQ(SampleRateConverter::make(0, 48000, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, -1, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(std::nan(""), 48000, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, infinity, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, 100, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, 1e12, 2), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, 44100, 0), nullptr);
  EXPECT_EQ(SampleRateConverter::make(48000, 44100, 17), nullptr);
}

TEST(SampleRateConverter, convertingNeverAllocatesOrBlocks) {
  for (const double outputHz : {44100.0, 44056.5}) {
    const auto converter = SampleRateConverter::make(48000, outputHz, 16);
    PlanarSource source(std::vector(16, std::vector<float>(20000, 0.5F)));
    PlanarBuffer block(16, 512);
    EXPECT_EQ(test::countedInRealtime([&] {
                for (int step = 0; step < 20; ++step) converter->convert(source, block.channels(), 512);
              }),
              test::RealtimeCounts{});
  }
}

}  // namespace
}  // namespace brindlemux
