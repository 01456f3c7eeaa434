#include "engine/capture_buffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <vector>

#include "support/realtime_guard.h"

namespace brindlemux {
namespace {

using testing::Each;
using testing::ElementsAre;

AudioBuffer bufferOf(std::vector<float>& samples, std::uint32_t channels) {
  return {channels, static_cast<std::uint32_t>(samples.size() * sizeof(float)), samples.data()};
}

class CaptureBufferTest : public testing::Test {
 protected:
  static CaptureBuffer make(std::int64_t channels) { return CaptureBuffer(*standardFloatFormat(48000, channels)); }

  static std::vector<float> channel(const CaptureBuffer& buffer, std::size_t index) {
    const CapturedBuffer captured = buffer.captured();
    return {captured.planar[index], captured.planar[index] + captured.frames};
  }
};

TEST_F(CaptureBufferTest, interleavedChannelsAreTakenApart) {
  CaptureBuffer buffer = make(3);
  std::vector<float> samples = {1, 2, 3, 11, 12, 13};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(samples, 3)}), 2);
  EXPECT_THAT(channel(buffer, 0), ElementsAre(1, 11));
  EXPECT_THAT(channel(buffer, 1), ElementsAre(2, 12));
  EXPECT_THAT(channel(buffer, 2), ElementsAre(3, 13));
}

TEST_F(CaptureBufferTest, monoBuffersFillChannelsInTurn) {
  CaptureBuffer buffer = make(2);
  std::vector<float> left = {1, 2};
  std::vector<float> right = {3, 4};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(left, 1), bufferOf(right, 1)}), 2);
  EXPECT_THAT(channel(buffer, 0), ElementsAre(1, 2));
  EXPECT_THAT(channel(buffer, 1), ElementsAre(3, 4));
}

TEST_F(CaptureBufferTest, channelsThatNothingReachesAreSilent) {
  CaptureBuffer buffer = make(3);
  std::vector<float> loud(6, 1);
  buffer.fill(std::vector{bufferOf(loud, 3)});
  std::vector<float> mono = {5, 6};
  buffer.fill(std::vector{bufferOf(mono, 1)});
  EXPECT_THAT(channel(buffer, 0), ElementsAre(5, 6));
  EXPECT_THAT(channel(buffer, 1), ElementsAre(0, 0));
  EXPECT_THAT(channel(buffer, 2), ElementsAre(0, 0));
}

TEST_F(CaptureBufferTest, shorterLaterBufferIsFilledUpWithSilence) {
  CaptureBuffer buffer = make(2);
  std::vector<float> loud(8, 1);
  buffer.fill(std::vector{bufferOf(loud, 2)});
  std::vector<float> first = {1, 2, 3};
  std::vector<float> second = {4};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(first, 1), bufferOf(second, 1)}), 3);
  EXPECT_THAT(channel(buffer, 1), ElementsAre(4, 0, 0));
}

TEST_F(CaptureBufferTest, longerLaterBufferIsCutToTheFirst) {
  CaptureBuffer buffer = make(2);
  std::vector<float> first = {1};
  std::vector<float> second = {2, 3};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(first, 1), bufferOf(second, 1)}), 1);
  EXPECT_THAT(channel(buffer, 1), ElementsAre(2));
}

TEST_F(CaptureBufferTest, surplusIncomingChannelsAreIgnored) {
  CaptureBuffer buffer = make(1);
  std::vector<float> first = {1, 2};
  std::vector<float> second = {3};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(first, 2), bufferOf(second, 1)}), 1);
  EXPECT_THAT(channel(buffer, 0), ElementsAre(1));
}

TEST_F(CaptureBufferTest, bufferWithoutDataIsSilence) {
  CaptureBuffer buffer = make(2);
  std::vector<float> second = {3};
  const AudioBuffer missing = {1, sizeof(float), nullptr};
  EXPECT_EQ(buffer.fill(std::vector{missing, bufferOf(second, 1)}), 1);
  EXPECT_THAT(channel(buffer, 0), ElementsAre(0));
  EXPECT_THAT(channel(buffer, 1), ElementsAre(3));
}

TEST_F(CaptureBufferTest, unusableCyclesGiveNothing) {
  CaptureBuffer buffer = make(2);
  std::vector<float> half = {1};
  EXPECT_EQ(buffer.fill({}), 0);
  EXPECT_EQ(buffer.fill(std::vector{AudioBuffer{1, 0, nullptr}}), 0);
  // 4 bytes hold no whole frame of two channels.
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(half, 2)}), 0);
  EXPECT_EQ(buffer.captured().frames, 0);
}

TEST_F(CaptureBufferTest, bufferOfNoChannelsCountsAsMono) {
  CaptureBuffer buffer = make(1);
  std::vector<float> samples = {1, 2};
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(samples, 0)}), 2);
  EXPECT_THAT(channel(buffer, 0), ElementsAre(1, 2));
}

TEST_F(CaptureBufferTest, longCycleIsCapped) {
  CaptureBuffer buffer = make(1);
  std::vector<float> samples(20000, 0.5F);
  EXPECT_EQ(buffer.fill(std::vector{bufferOf(samples, 1)}), 16384);
  EXPECT_THAT(channel(buffer, 0), Each(0.5F));
}

TEST_F(CaptureBufferTest, fillingNeverAllocatesOrBlocks) {
  CaptureBuffer buffer = make(16);
  std::vector<float> samples(512 * 16, 0.5F);
  const std::vector<AudioBuffer> input = {bufferOf(samples, 16)};
  EXPECT_EQ(test::countedInRealtime([&] { buffer.fill(input); }), test::RealtimeCounts{});
}

}  // namespace
}  // namespace brindlemux
