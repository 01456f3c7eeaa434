// Ten minutes of converted sound, in callbacks of every odd size: each sample must be where the tone has it, so that a
// single frame that were dropped or repeated anywhere would put the rest out of phase.
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "engine/capture_path.h"
#include "engine/input_engine.h"
#include "engine/output_engine.h"
#include "engine/sample_rate_converter.h"
#include "support/engine_scene.h"
#include "support/realtime_guard.h"
#include "support/sine_tone.h"

namespace brindlemux {
namespace {

constexpr std::int64_t minutes = 10;

/// One second of a sine of 997 Hz: whole periods at every whole rate.
class Tone {
 public:
  explicit Tone(std::int64_t sampleRateHz)
      : samples_(test::sineTone(static_cast<std::size_t>(sampleRateHz), 997, 0.5, static_cast<double>(sampleRateHz))) {}

  float at(std::int64_t frame) const { return samples_[static_cast<std::size_t>(frame % std::ssize(samples_))]; }
  void copy(std::int64_t first, std::int64_t frames, float* to) const {
    for (std::int64_t i = 0; i < frames; ++i) to[i] = at(first + i);
  }

 private:
  std::vector<float> samples_;
};

/// Compares a stream with the tone, from where the filter has taken in the tone's beginning.
class Comparison {
 public:
  explicit Comparison(const Tone& tone) : tone_(tone) {}

  void hear(std::int64_t first, std::span<const float> samples) {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const std::int64_t frame = first + static_cast<std::int64_t>(i);
      if (frame < settledFrames) continue;
      if (std::abs(samples[i] - tone_.at(frame)) <= tolerance) continue;
      firstWrong = std::min(firstWrong, frame);
    }
  }

  static constexpr std::int64_t none = std::numeric_limits<std::int64_t>::max();
  std::int64_t firstWrong = none;

 private:
  static constexpr std::int64_t settledFrames = 1000;
  /// A frame too many or too few makes up to 0.065; the converter itself errs by less than 1e-6.
  static constexpr float tolerance = 1e-5F;
  const Tone& tone_;
};

const std::vector<std::uint32_t> oddSizes = {1, 104, 139, 940, 8192};

class LongConversion : public testing::TestWithParam<std::uint32_t>, public test::EngineScene {
 protected:
  AudioObjectID addOutput(double sampleRateHz, std::vector<std::uint32_t> blockPattern = {}) {
    SimulatedDevice device = test::outputDevice("Speakers", 1);
    device.nominalSampleRateHz = sampleRateHz;
    device.ratePolicy = SampleRatePolicy::fixed;
    device.blockPattern = std::move(blockPattern);
    return hardware.addDevice(device);
  }
};

// The engine renders a sine of 997 Hz at 48000 Hz; the device hears it at its own rate.
TEST_P(LongConversion, outputLosesAndRepeatsNothing) {
  constexpr std::int64_t rateHz = 44100;
  const Tone rendered(48000);
  const Tone expected(rateHz);
  // The filter begins with that much silence.
  std::int64_t position = SampleRateConverter::lookAheadFrames(48000, rateHz);
  OutputEngine engine(services, addOutput(rateHz), 1, 256, [&](std::span<float* const> buffers, std::int64_t frames) {
    rendered.copy(position, frames, buffers[0]);
    position += frames;
  });
  Comparison comparison(expected);
  std::vector<float> block(GetParam());
  const AudioBuffer buffer = {1, static_cast<std::uint32_t>(block.size() * sizeof(float)), block.data()};
  std::int64_t heard = 0;
  const test::RealtimeCounts counts = test::countedInRealtime([&] {
    while (heard < minutes * 60 * rateHz) {
      engine.performRender({&buffer, 1}, GetParam());
      comparison.hear(heard, block);
      heard += std::ssize(block);
    }
  });
  EXPECT_EQ(comparison.firstWrong, Comparison::none);
  EXPECT_EQ(counts, test::RealtimeCounts{});
  // What was rendered and not heard yet: the filter's look-ahead of 105 frames, the margin of 64 that a callback may
  // pull beyond its need, and up to 3 for the rounding of both.
  const double surplus = static_cast<double>(position) - static_cast<double>(heard) * 48000 / rateHz;
  EXPECT_GE(surplus, 100);
  EXPECT_LE(surplus, 105 + 64 + 3);
}

// A device captured at 44100 Hz reaches its ring at 48000 Hz.
TEST_P(LongConversion, captureLosesAndRepeatsNothing) {
  constexpr std::int64_t rateHz = 44100;
  const Tone captured(rateHz);
  const Tone expected(48000);
  const auto ring = std::make_shared<SourceRing>(1, captureRingFrames);
  CapturePath path(*standardFloatFormat(rateHz, 1), ring);
  Comparison comparison(expected);
  std::vector<float> block(GetParam());
  const AudioBuffer buffer = {1, static_cast<std::uint32_t>(block.size() * sizeof(float)), block.data()};
  std::vector<float> read(16384);
  float* const target = read.data();
  const Tap tap = {.src = 0, .out = 0, .gain = 1.0F};
  std::int64_t cursor = 0;
  std::int64_t fed = 0;
  while (fed < minutes * 60 * rateHz) {
    captured.copy(fed, std::ssize(block), block.data());
    path.take({&buffer, 1});
    fed += std::ssize(block);
    // A reader may lag by 8192 frames; a longer block is heard from there on.
    const std::int64_t head = ring->head();
    if (head - cursor < 1024) continue;
    cursor = std::max(cursor, head - 8192);
    const std::int64_t first = cursor;
    std::fill_n(target, head - first, 0.0F);
    ring->mixRead(head - first, cursor, {&target, 1}, {&tap, 1});
    ASSERT_EQ(cursor, head);
    comparison.hear(first, std::span(read).first(static_cast<std::size_t>(head - first)));
  }
  EXPECT_EQ(comparison.firstWrong, Comparison::none);
  // The filter looks 96 frames ahead.
  EXPECT_NEAR(static_cast<double>(ring->head()), static_cast<double>(fed - 96) * 48000 / rateHz, 2);
}

INSTANTIATE_TEST_SUITE_P(Frames, LongConversion, testing::ValuesIn(oddSizes));

class LongConversionOnServer : public LongConversion {};

// The same on the simulated server, the sizes taking turns.
TEST_P(LongConversionOnServer, outputLosesAndRepeatsNothing) {
  const std::int64_t rateHz = GetParam();
  const Tone rendered(48000);
  const Tone expected(rateHz);
  // The filter begins with that much silence.
  std::int64_t position = SampleRateConverter::lookAheadFrames(48000, static_cast<double>(rateHz));
  const AudioObjectID device = addOutput(static_cast<double>(rateHz), oddSizes);
  OutputEngine engine(services, device, 1, 256, [&](std::span<float* const> buffers, std::int64_t frames) {
    rendered.copy(position, frames, buffers[0]);
    position += frames;
  });
  Comparison comparison(expected);
  std::int64_t heard = 0;
  for (std::int64_t second = 0; second < minutes * 60; ++second) {
    hardware.advance(48000);
    const auto output = hardware.takeOutput(device);
    comparison.hear(heard, output.at(0));
    heard += std::ssize(output.at(0));
  }
  EXPECT_EQ(comparison.firstWrong, Comparison::none);
  EXPECT_NEAR(static_cast<double>(heard), static_cast<double>(minutes * 60 * rateHz), 8192);
}

INSTANTIATE_TEST_SUITE_P(Rates, LongConversionOnServer, testing::Values(44100U, 96000U));

}  // namespace
}  // namespace brindlemux
