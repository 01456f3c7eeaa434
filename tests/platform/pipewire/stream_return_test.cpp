#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <span>
#include <string>
#include <unistd.h>
#include <vector>

#include "platform/pipewire/numbered_streams.h"
#include "platform/pipewire/server_fixture.h"
#include "support/numbered_sound.h"
#include "support/repetitions.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

using Clock = NumberedStreams::Clock;
using std::chrono::milliseconds;

constexpr const char* streamsVariable = "BRINDLEMUX_STREAM_RETURNS";

/// How many channel numbers each stream has to itself.
constexpr std::uint32_t streamChannels = 4;

/// What a tap hears of one stream: its samples from the first cycle with sound on, and when that cycle was.
class Hearing {
 public:
  Hearing() {
    for (auto& side : sides_) side.resize(capacity);
  }

  IOBlock recorder() {
    return [this](AudioBufferList input) {
      const std::size_t length = std::min<std::size_t>(input[0].byteSize / sizeof(float), capacity - count_);
      if (count_ == 0) {
        if (!isExpected(input[0].data, length) && !isExpected(input[1].data, length)) return;
        began_ = Clock::now();
      }
      for (std::size_t side = 0; side < 2; ++side) {
        std::copy_n(input[side].data, length, sides_[side].begin() + static_cast<std::ptrdiff_t>(count_));
      }
      count_ += length;
    };
  }

  /// Begins anew with the first sample of a stream that has `streamChannels` channels from this one on; the last
  /// cycles of another one may come before it.
  void listenFor(std::uint32_t firstChannel) {
    firstChannel_ = firstChannel;
    count_ = 0;
  }
  std::size_t count() const { return count_; }
  Clock::time_point began() const { return began_; }
  std::span<const float> side(std::size_t side) const { return std::span(sides_[side]).first(count_); }

 private:
  static constexpr std::size_t capacity = 48000;

  bool isExpected(const float* samples, std::size_t length) const {
    return std::any_of(samples, samples + length, [first = firstChannel_.load()](float sample) {
      const auto number = static_cast<std::int64_t>(sample * 0x1p24F);
      return number > 0 && (number - 1) % numberedChannels / streamChannels == first / streamChannels;
    });
  }

  std::array<std::vector<float>, 2> sides_;
  std::atomic<std::uint32_t> firstChannel_ = 0;
  std::atomic<std::size_t> count_ = 0;
  std::atomic<Clock::time_point> began_ = Clock::time_point{};
};

/// What the samples hold that are not the channel's alone, told where each such part begins and ends: frame and channel
/// of the sound, if it is there by itself, and if it is there beside the channel's own.
std::string foreignSound(std::span<const float> side, std::span<const std::int64_t> frames, std::uint32_t channel) {
  const auto own = std::ranges::find_if(frames, [](std::int64_t frame) { return frame >= 0; });
  const std::int64_t offset = own == frames.end() ? 0 : *own - std::distance(frames.begin(), own);
  const auto isForeign = [&](std::size_t at) { return at < frames.size() && frames[at] == noSuchFrame; };
  const auto told = [](float sample) {
    const auto number = static_cast<std::int64_t>(sample * 0x1p24F) - 1;
    return std::to_string(number / numberedChannels) + " of channel " + std::to_string(number % numberedChannels);
  };
  std::string words = std::to_string(std::ranges::count(frames, noSuchFrame)) + " samples";
  for (std::size_t at = 0; at < frames.size(); ++at) {
    if (!isForeign(at) || (at > 0 && isForeign(at - 1) && isForeign(at + 1))) continue;
    const float beside = side[at] - numbered(offset + static_cast<std::int64_t>(at), channel);
    words += "; at " + std::to_string(at) + " frame " + told(side[at]) + ", or " + told(beside) + " beside its own";
  }
  return words;
}

/// The frames of a side, which are all the channel's, one after the other, silence before the first. Returns the first.
std::int64_t expectWhole(std::span<const float> side, std::uint32_t channel, const std::string& what) {
  const auto frames = framesOf(side, channel);
  const auto first = std::find_if(frames.begin(), frames.end(), [](std::int64_t frame) { return frame != silence; });
  if (first == frames.end()) {
    ADD_FAILURE() << what << ": nothing is heard";
    return silence;
  }
  EXPECT_EQ(std::count(first, frames.end(), noSuchFrame), 0)
      << what << ": another channel's or stream's samples, " << foreignSound(side, frames, channel);
  return *first;
}

std::string distribution(std::vector<double> values) {
  std::ranges::sort(values);
  const auto at = [&](std::size_t percent) {
    return std::to_string(values[std::min(values.size() - 1, values.size() * percent / 100)]);
  };
  return at(0) + " at the least, " + at(50) + " in the median, " + at(90) + " for 90 of 100, " + at(99) +
         " for 99 of 100, " + at(100) + " at the most";
}

class StreamReturn : public PipeWireServer {
 protected:
  StreamReturn() {
    const auto process = [this] {
      return read<AudioObjectID>(kAudioObjectSystemObject,
                                 globalAddress(kAudioHardwarePropertyTranslatePIDToProcessObject),
                                 std::int32_t{getpid()});
    };
    EXPECT_TRUE(waitUntil([&] { return process() != kAudioObjectUnknown; }));
    tap_ = startTap(*hardware_, {.selection = TapDescription::Selection::only, .processes = {process()}},
                    hearing_.recorder());
  }
  ~StreamReturn() override { EXPECT_EQ(hardware_->destroyIOProc(tap_.aggregate, tap_.procedure), noErr); }

  NumberedStreams streams_;
  Hearing hearing_;
  RunningTap tap_;
};

TEST_F(StreamReturn, isCapturedAtOnceAndInItsChannels) {
  const int rounds = repetitions(streamsVariable, 25);
  constexpr unsigned seed = 20'000;
  std::mt19937 random(seed);
  std::vector<double> linkTimes;
  std::vector<double> soundTimes;
  std::vector<double> missed;
  int late = 0;
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    const std::uint32_t channels = random() % 4 == 0 ? 1 : 2;
    // The next of eight pairs of channels: what is left over from a stream is not taken for the next one's.
    const auto firstChannel = static_cast<std::uint32_t>(round % 8) * streamChannels;
    const std::size_t length = 512 + random() % 8192;
    const std::string what = "round " + std::to_string(round) + ", channels " + std::to_string(channels);
    hearing_.listenFor(firstChannel);
    streams_.open(channels, firstChannel);
    ASSERT_TRUE(waitUntil([&] { return hearing_.count() >= length; })) << what << server_.logs();
    // On an output of two channels a stream of one has two ports too.
    const auto ports = streams_.portsAppeared(2);
    const auto links = streams_.linksAppeared("brindlemux.tap", 2);
    ASSERT_TRUE(ports && links) << what;
    const std::int64_t left = expectWhole(hearing_.side(0), firstChannel, what + ", left");
    const std::int64_t right = expectWhole(hearing_.side(1), firstChannel + channels - 1, what + ", right");
    // Some end before the next one begins, some in the same moment.
    if (random() % 2 == 0) streams_.close();

    const auto since = [&](Clock::time_point time) {
      return std::chrono::duration<double, std::milli>(time - *ports).count();
    };
    linkTimes.push_back(since(*links));
    soundTimes.push_back(since(hearing_.began()));
    missed.push_back(static_cast<double>(std::max(left, right)));
    if (soundTimes.back() > 50) ++late;
  }
  if (!isLongRun(streamsVariable) || HasFailure()) return;
  std::cout << rounds << " streams, in milliseconds since their ports appeared\n  linked: " << distribution(linkTimes)
            << "\n  heard: " << distribution(soundTimes)
            << "\n  frames before the first one heard on both sides: " << distribution(missed)
            << "\n  later than 50 ms: " << late << std::endl;
  EXPECT_LE(late * 100, rounds);
}

}  // namespace
}  // namespace brindlemux::test
