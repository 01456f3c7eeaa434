#include "engine/kernels/kernels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "engine/audio_test_support.h"
#include "engine/source_ring.h"

namespace brindlemux {

void PrintTo(const Kernels& set, std::ostream* stream) { *stream << set.name; }

namespace {

using test::inRealtime;
using test::PlanarBuffers;

std::uint32_t bits(float sample) { return std::bit_cast<std::uint32_t>(sample); }

/// Samples of every kind that a float can be, the awkward ones often.
class Samples {
 public:
  explicit Samples(std::uint32_t seed) : random_(seed) {}

  float operator()() {
    constexpr std::array awkward = {0x00000000U, 0x80000000U, 0x00000001U, 0x807FFFFFU, 0x00800000U, 0x7F7FFFFFU,
                                    0xFF7FFFFFU, 0x7F800000U, 0xFF800000U, 0x7FC12345U, 0xFFC54321U, 0x7F800001U,
                                    0xFFBFFFFFU, 0x3F666666U, 0x3F666667U, 0xBF666667U, 0x5F800000U, 0x3F800001U};
    const auto choice = static_cast<std::uint32_t>(random_());
    if (choice % 4 == 0) return std::bit_cast<float>(awkward[random_() % awkward.size()]);
    if (choice % 4 == 1) return std::bit_cast<float>(static_cast<std::uint32_t>(random_()));
    return static_cast<float>(static_cast<std::int32_t>(random_())) * 0x1p-30F;
  }

  std::vector<float> take(std::size_t count) {
    std::vector<float> samples(count);
    std::ranges::generate(samples, [this] { return (*this)(); });
    return samples;
  }

 private:
  std::mt19937 random_;
};

void expectEqualBits(const std::vector<float>& result, const std::vector<float>& defined, const std::string& what) {
  for (std::size_t i = 0; i < defined.size(); ++i) ASSERT_EQ(bits(result[i]), bits(defined[i])) << what << " at " << i;
}

// The lengths end every loop of every variant at each of its remainders; the offsets reach every alignment of a
// register.
constexpr std::size_t maximumLength = 150;
constexpr std::size_t maximumOffset = 8;

class KernelsTest : public testing::TestWithParam<Kernels> {
 protected:
  const Kernels& kernels = GetParam();
  const Kernels& plain = availableKernels().front();
};

/// Planar samples, and outputs that begin at different alignments, with room before and after.
struct Mix {
  static constexpr std::int64_t channels = 3;
  static constexpr std::size_t outputCount = 2;

  /// The window begins `start` samples into channels of that length.
  Mix(Samples& samples, std::int64_t length, std::int64_t start, std::int64_t frames)
      : memory(samples.take(static_cast<std::size_t>(channels * length))),
        window{.samples = memory.data() + start, .channels = channels, .stride = length, .frames = frames} {
    for (std::size_t i = 0; i < outputCount; ++i) {
      before.push_back(samples.take(static_cast<std::size_t>(frames) + 3 * maximumOffset));
    }
  }

  std::vector<std::vector<float>> addedBy(const Kernels& kernels, const std::vector<Tap>& taps) const {
    std::vector<std::vector<float>> result = before;
    std::array<float*, outputCount> outputs = {};
    for (std::size_t i = 0; i < outputCount; ++i) outputs[i] = result[i].data() + offset(i) - at;
    inRealtime([&] { kernels.addTaps(window, at, outputs, taps); });
    return result;
  }

  std::size_t offset(std::size_t output) const {
    return maximumOffset + (static_cast<std::size_t>(window.frames) + 3 * output) % maximumOffset;
  }

  /// How far into the outputs the window is added.
  static constexpr std::int64_t at = 5;

  std::vector<float> memory;
  PlanarWindow window;
  std::vector<std::vector<float>> before;
};

/// Which samples of an output two NaNs met in: then it is left open which one's payload survives.
std::vector<bool> samplesWithTwoNaNs(const Mix& mix, std::size_t output, const std::vector<Tap>& taps) {
  const PlanarWindow& window = mix.window;
  std::vector<float> sums = mix.before[output];
  std::vector<bool> found(sums.size());
  for (const Tap& tap : taps) {
    if (tap.out != static_cast<std::int64_t>(output) || tap.src < 0 || tap.src >= window.channels) continue;
    for (std::int64_t i = 0; i < window.frames; ++i) {
      const float sample = window.samples[tap.src * window.stride + i];
      const std::size_t at = mix.offset(output) + static_cast<std::size_t>(i);
      const float product = tap.gain * sample;
      if (std::isnan(tap.gain) && std::isnan(sample)) found[at] = true;
      if (std::isnan(sums[at]) && std::isnan(product)) found[at] = true;
      sums[at] += product;
    }
  }
  return found;
}

TEST_P(KernelsTest, tapsAreAddedAsThePlainLoopDoes) {
  Samples samples(1);
  for (std::int64_t frames = 0; frames <= static_cast<std::int64_t>(maximumLength); ++frames) {
    for (std::int64_t start = 0; start <= static_cast<std::int64_t>(4 * maximumOffset); ++start) {
      const Mix mix(samples, start + frames + start % 5, start, frames);
      // Runs of one, two and three, the same output in two runs, and runs that end at a tap out of range.
      std::vector<Tap> taps = {{.src = 0, .out = 1}, {.src = 2, .out = 0}, {.src = 1, .out = 0}, {.src = 3, .out = 0},
                               {.src = 1, .out = 0}, {.src = 0, .out = 1}, {.src = 2, .out = 1}, {.src = 1, .out = 1},
                               {.src = 0, .out = 2}, {.src = 0, .out = 1}, {.src = -1, .out = 0}};
      for (Tap& tap : taps) tap.gain = samples();
      const std::vector<std::vector<float>> defined = mix.addedBy(plain, taps);
      const std::vector<std::vector<float>> result = mix.addedBy(kernels, taps);
      for (std::size_t output = 0; output < Mix::outputCount; ++output) {
        const std::vector<bool> open = samplesWithTwoNaNs(mix, output, taps);
        for (std::size_t i = 0; i < result[output].size(); ++i) {
          if (open[i]) {
            ASSERT_TRUE(std::isnan(result[output][i]) && std::isnan(defined[output][i]));
          } else {
            ASSERT_EQ(bits(result[output][i]), bits(defined[output][i]))
                << frames << " frames from " << start << " on, output " << output << " at " << i;
          }
        }
      }
    }
  }
}

TEST_P(KernelsTest, nothingBesideTheOutputsIsWritten) {
  Samples samples(5);
  for (std::int64_t frames = 0; frames <= static_cast<std::int64_t>(maximumLength); ++frames) {
    const Mix mix(samples, 2 * frames + 9, frames + 9, frames);
    const std::vector<std::vector<float>> result =
        mix.addedBy(kernels, {{.src = 0, .out = 0}, {.src = 1, .out = 0}, {.src = 1, .out = 1}});
    for (std::size_t output = 0; output < Mix::outputCount; ++output) {
      const std::size_t first = mix.offset(output);
      for (std::size_t i = 0; i < result[output].size(); ++i) {
        if (i >= first && i < first + static_cast<std::size_t>(frames)) continue;
        ASSERT_EQ(bits(result[output][i]), bits(mix.before[output][i])) << frames << " frames, at " << i;
      }
    }
  }
}

TEST_P(KernelsTest, channelsBeginAStrideApartAndOutputsWhereTheyAreTold) {
  // Two channels of ten samples each, 0 to 9 and 100 to 109; the window is 4, 5 and 6 of both.
  std::vector<float> memory(20);
  for (std::size_t i = 0; i < 10; ++i) {
    memory[i] = static_cast<float>(i);
    memory[10 + i] = 100 + static_cast<float>(i);
  }
  std::vector<float> sums(6, 1000.0F);
  const std::array<float*, 1> outputs = {sums.data()};
  const std::array taps = {Tap{.src = 0, .out = 0, .gain = 2.0F}, Tap{.src = 1, .out = 0, .gain = -1.0F}};
  kernels.addTaps({.samples = memory.data() + 4, .channels = 2, .stride = 10, .frames = 3}, 2, outputs, taps);
  // 1000 + 2 x 4 - 104 = 904, and one more for each frame.
  EXPECT_EQ(sums, (std::vector<float>{1000, 1000, 904, 905, 906, 1000}));
}

/// The sums of `length` samples that are all alike, each of which the taps add to.
std::vector<float> sumsOf(const Kernels& kernels, std::size_t length, float sample, float before,
                          const std::vector<float>& gains) {
  const std::vector<float> channel(length, sample);
  std::vector<float> sums(length, before);
  const std::array<float*, 1> outputs = {sums.data()};
  const auto frames = static_cast<std::int64_t>(length);
  std::vector<Tap> taps;
  for (const float gain : gains) taps.push_back({.src = 0, .out = 0, .gain = gain});
  kernels.addTaps({.samples = channel.data(), .channels = 1, .stride = frames, .frames = frames}, 0, outputs, taps);
  return sums;
}

TEST_P(KernelsTest, productsAreRoundedBeforeTheyAreAdded) {
  // Exactly, (1 + 2^-23) x (1 - 2^-23) = 1 - 2^-46, which rounds to 1. With -1 that leaves 0; fused, -2^-46.
  for (const std::size_t length : {1U, 3U, 4U, 8U, 15U, 64U, 111U}) {
    EXPECT_EQ(sumsOf(kernels, length, 1.0F + 0x1p-23F, -1.0F, {1.0F - 0x1p-23F}), std::vector<float>(length, 0.0F));
  }
}

TEST_P(KernelsTest, tapsAreAddedInTheirOrder) {
  // (1 + 2^30) - 2^30 = 0 in 32 bits, while 1 + (2^30 - 2^30) would be 1.
  EXPECT_EQ(sumsOf(kernels, 70, 1.0F, 1.0F, {0x1p30F, -0x1p30F}), std::vector<float>(70, 0.0F));
}

TEST_P(KernelsTest, copiesAndPeaksAreThoseOfThePlainLoop) {
  Samples samples(2);
  for (std::size_t length = 0; length <= maximumLength; ++length) {
    for (std::size_t offset = 0; offset < maximumOffset; ++offset) {
      const std::vector<float> source = samples.take(offset + length);
      const std::vector<float> before = samples.take(length + 2 * maximumOffset);
      std::vector<float> defined = before;
      std::vector<float> result = before;
      const std::size_t at = maximumOffset - offset;
      const auto frames = static_cast<std::int64_t>(length);
      PeakLanes definedLanes;
      PeakLanes lanes;
      plain.copyWithPeak(defined.data() + at, source.data() + offset, frames, definedLanes);
      inRealtime([&] { kernels.copyWithPeak(result.data() + at, source.data() + offset, frames, lanes); });
      expectEqualBits(result, defined, "copy of " + std::to_string(length));
      const float definedPeak = definedLanes.largest();
      ASSERT_EQ(bits(lanes.largest()), bits(definedPeak)) << length << " from " << offset;
      float peak = -1;
      inRealtime([&] { peak = kernels.peakMagnitude(source.data() + offset, frames); });
      ASSERT_EQ(bits(peak), bits(definedPeak)) << length << " from " << offset;
    }
  }
}

TEST_P(KernelsTest, aPeakIsRaisedAndNeverLowered) {
  std::array<float, 40> into;
  for (const std::int64_t frames : {1, 7, 8, 9, 40}) {
    PeakLanes peak;
    std::array<float, 40> source;
    source.fill(-0.25F);
    kernels.copyWithPeak(into.data(), source.data(), frames, peak);
    EXPECT_EQ(peak.largest(), 0.25F) << frames;
    source[static_cast<std::size_t>(frames) - 1] = 0.75F;
    kernels.copyWithPeak(into.data(), source.data(), frames, peak);
    EXPECT_EQ(peak.largest(), 0.75F) << frames;
    source.fill(0.5F);
    kernels.copyWithPeak(into.data(), source.data(), frames, peak);
    EXPECT_EQ(peak.largest(), 0.75F) << frames;
  }
}

TEST_P(KernelsTest, limitingIsThatOfThePlainLoop) {
  Samples samples(3);
  for (std::size_t length = 0; length <= maximumLength; ++length) {
    for (std::size_t offset = 0; offset < maximumOffset; ++offset) {
      // Quiet ones as well, so that every group is sometimes passed over.
      const float scale = (length + offset) % 2 == 0 ? 1.0F : 0.25F;
      std::vector<float> before = samples.take(offset + length + maximumOffset);
      if (scale < 1) {
        for (float& sample : before) sample = std::isfinite(sample) ? std::fmod(sample, 0.5F) : sample;
        if (length > 0) before[offset + length / 2] = -1.5F;
      }
      std::vector<float> defined = before;
      std::vector<float> result = before;
      const auto frames = static_cast<std::int64_t>(length);
      const float definedPeak = plain.limitWithPeak(defined.data() + offset, frames);
      float peak = -1;
      inRealtime([&] { peak = kernels.limitWithPeak(result.data() + offset, frames); });
      expectEqualBits(result, defined, "limiter of " + std::to_string(length));
      ASSERT_EQ(bits(peak), bits(definedPeak)) << length << " from " << offset;
      EXPECT_LE(peak, 1.0F);
    }
  }
}

TEST_P(KernelsTest, everyMagnitudeBeyondTheKneeIsLimitedAlike) {
  // Mantissas spread over every exponent from below the knee to infinity.
  std::vector<float> defined;
  for (std::uint64_t pattern = bits(0.85F); pattern <= bits(std::numeric_limits<float>::infinity()); pattern += 4093) {
    defined.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(pattern)));
  }
  ASSERT_GT(defined.size(), 200000U);
  std::vector<float> result = defined;
  const auto frames = static_cast<std::int64_t>(defined.size());
  const float definedPeak = plain.limitWithPeak(defined.data(), frames);
  const float peak = kernels.limitWithPeak(result.data(), frames);
  expectEqualBits(result, defined, "sweep");
  EXPECT_EQ(bits(peak), bits(definedPeak));
  EXPECT_EQ(peak, 1.0F);
}

TEST_P(KernelsTest, aRingMixesAtEveryWrapPositionAsThePlainLoopDoes) {
  constexpr std::int64_t capacity = 101;
  Samples samples(4);
  SourceRing defined(3, capacity, plain);
  SourceRing ring(3, capacity, kernels);
  // Interleaved over the outputs, out of range, and with an output beyond the 64 that share no bit.
  std::vector<Tap> taps;
  for (std::int64_t i = 0; i < 150; ++i) taps.push_back({.src = i % 4, .out = (i * 7) % 70, .gain = 0.25F});
  for (int round = 0; round < 300; ++round) {
    const std::int64_t frames = 1 + (round * 13) % 97;
    PlanarBuffers block(3, frames);
    for (std::int64_t channel = 0; channel < 3; ++channel) {
      for (float& sample : block[channel]) {
        // Finite and small, so that no NaN hides a fault.
        sample = samples();
        if (!(std::fabs(sample) < 4)) sample = -0.0F;
      }
    }
    inRealtime([&] { ring.write(block.captured()); });
    defined.write(block.captured());
    std::int64_t cursor = std::max(ring.head() - frames, std::int64_t{0});
    std::int64_t definedCursor = cursor;
    PlanarBuffers output(68, frames);
    inRealtime([&] { ring.mixRead(frames, cursor, output.pointers(), taps); });
    // The definition: one tap after the other, in the order of the list.
    PlanarBuffers expected(68, frames);
    for (const Tap& tap : taps) {
      definedCursor = std::max(ring.head() - frames, std::int64_t{0});
      defined.mixRead(frames, definedCursor, expected.pointers(), {&tap, 1});
    }
    ASSERT_EQ(cursor, definedCursor);
    for (std::int64_t channel = 0; channel < 68; ++channel) {
      expectEqualBits(output[channel], expected[channel],
                      "round " + std::to_string(round) + ", output " + std::to_string(channel));
    }
  }
  EXPECT_EQ(ring.takePeaks(), defined.takePeaks());
}

INSTANTIATE_TEST_SUITE_P(Every, KernelsTest, testing::ValuesIn(availableKernels().begin(), availableKernels().end()),
                         [](const testing::TestParamInfo<Kernels>& set) { return std::string(set.param.name); });

TEST(Kernels, theFastestIsTheLastAndChosenOnce) {
  EXPECT_EQ(&fastestKernels(), &availableKernels().back());
  EXPECT_STREQ(availableKernels().front().name, "plain");
}

}  // namespace
}  // namespace brindlemux
