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

/// Where two NaNs meet, it is left open which one's payload survives; otherwise every bit counts.
void expectEqualSums(const std::vector<float>& result, const std::vector<float>& defined,
                     const std::vector<bool>& hasTwoNaNs, const std::string& what) {
  for (std::size_t i = 0; i < defined.size(); ++i) {
    if (hasTwoNaNs[i]) {
      ASSERT_TRUE(std::isnan(result[i]) && std::isnan(defined[i])) << what << " at " << i;
    } else {
      ASSERT_EQ(bits(result[i]), bits(defined[i])) << what << " at " << i;
    }
  }
}

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

TEST_P(KernelsTest, tapsAreAddedAsThePlainLoopDoes) {
  Samples samples(1);
  for (std::size_t length = 0; length <= maximumLength; ++length) {
    for (const std::size_t count : {0U, 1U, 2U, 3U, 7U, 64U}) {
      const std::size_t offset = (length + count) % maximumOffset;
      const std::size_t skip = (length * 3 + count) % maximumOffset;
      std::vector<std::vector<float>> sources;
      std::vector<ScaledInput> inputs;
      for (std::size_t i = 0; i < count; ++i) sources.push_back(samples.take(skip + length));
      for (const std::vector<float>& source : sources) inputs.push_back({.samples = source.data(), .gain = samples()});
      const std::vector<float> before = samples.take(offset + length + maximumOffset);
      std::vector<bool> hasTwoNaNs(before.size());
      for (std::size_t i = 0; i < length; ++i) {
        int notNumbers = std::isnan(before[offset + i]) ? 1 : 0;
        for (std::size_t input = 0; input < count; ++input) {
          const float product = inputs[input].gain * sources[input][skip + i];
          const bool isDouble = std::isnan(inputs[input].gain) && std::isnan(sources[input][skip + i]);
          notNumbers += isDouble ? 2 : std::isnan(product) ? 1 : 0;
        }
        // A sum of two infinities is one more, and may meet another; it is told by the definition's own result.
        hasTwoNaNs[offset + i] = notNumbers > 1;
        float sum = before[offset + i];
        for (std::size_t input = 0; input < count && !hasTwoNaNs[offset + i]; ++input) {
          const float product = inputs[input].gain * sources[input][skip + i];
          if (std::isnan(sum) && std::isnan(product)) hasTwoNaNs[offset + i] = true;
          sum += product;
        }
      }
      std::vector<float> defined = before;
      std::vector<float> result = before;
      const auto add = [&](const Kernels& set, std::vector<float>& into) {
        inRealtime([&] {
          set.addScaled(into.data() + offset, inputs.data(), static_cast<std::int64_t>(count),
                        static_cast<std::int64_t>(skip), static_cast<std::int64_t>(length));
        });
      };
      add(plain, defined);
      add(kernels, result);
      expectEqualSums(result, defined, hasTwoNaNs, std::to_string(count) + " inputs of " + std::to_string(length));
      for (std::size_t i = 0; i < before.size(); ++i) {
        if (i >= offset && i < offset + length) continue;
        ASSERT_EQ(bits(result[i]), bits(before[i])) << "beyond the output";
      }
    }
  }
}

TEST_P(KernelsTest, productsAreRoundedBeforeTheyAreAdded) {
  // Exactly, (1 + 2^-23) x (1 - 2^-23) = 1 - 2^-46, which rounds to 1. With -1 that leaves 0; fused, -2^-46.
  for (const std::size_t length : {1U, 3U, 4U, 8U, 15U, 64U, 111U}) {
    const std::vector<float> source(length, 1.0F + 0x1p-23F);
    std::vector<float> sums(length, -1.0F);
    const ScaledInput input = {.samples = source.data(), .gain = 1.0F - 0x1p-23F};
    kernels.addScaled(sums.data(), &input, 1, 0, static_cast<std::int64_t>(length));
    EXPECT_EQ(sums, std::vector<float>(length, 0.0F));
  }
}

TEST_P(KernelsTest, inputsAreAddedInTheirOrder) {
  // (1 + 2^30) - 2^30 = 0 in 32 bits, while 1 + (2^30 - 2^30) would be 1.
  const std::vector<float> ones(70, 1.0F);
  const std::array inputs = {ScaledInput{.samples = ones.data(), .gain = 0x1p30F},
                             ScaledInput{.samples = ones.data(), .gain = -0x1p30F}};
  std::vector<float> sums(70, 1.0F);
  kernels.addScaled(sums.data(), inputs.data(), 2, 0, 70);
  EXPECT_EQ(sums, std::vector<float>(70, 0.0F));
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
      float peak = -1;
      const float definedPeak = plain.copyWithPeak(defined.data() + at, source.data() + offset, frames);
      inRealtime([&] { peak = kernels.copyWithPeak(result.data() + at, source.data() + offset, frames); });
      expectEqualBits(result, defined, "copy of " + std::to_string(length));
      ASSERT_EQ(bits(peak), bits(definedPeak)) << length << " from " << offset;
      inRealtime([&] { peak = kernels.peakMagnitude(source.data() + offset, frames); });
      ASSERT_EQ(bits(peak), bits(definedPeak)) << length << " from " << offset;
    }
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
