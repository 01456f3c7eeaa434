#include <cmath>
#include <gtest/gtest.h>
#include <string>

#include "driver/driver_fixture.h"
#include "driver/loop_probe.h"
#include "driver/recording.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

constexpr double rateHz = 48000;
// What is measured: half a second, in which every tone below has well over 8 periods between it and its neighbour.
constexpr std::size_t measuredFrames = 24000;

// Multiples of 50 Hz, as Recording::waitForSound() asks for.
double frequencyOf(std::size_t channel) { return 400.0 + 250.0 * static_cast<double>(channel); }
double amplitudeOf(std::size_t channel) { return 0.9 / static_cast<double>(channel + 1); }

// 30 seconds with a tone and a level of its own on every channel.
WavFile tones(std::size_t channels) {
  WavFile wav;
  for (std::size_t channel = 0; channel < channels; ++channel) {
    wav.channels.push_back(sineTone(30 * 48000, frequencyOf(channel), amplitudeOf(channel), rateHz));
  }
  return wav;
}

// Every channel has its own tone at the level played, and the others' tones stay below -80 dB.
void expectTones(const WavFile& recorded, std::size_t channels) {
  ASSERT_EQ(recorded.channels.size(), channels);
  for (std::size_t channel = 0; channel < channels; ++channel) {
    for (std::size_t tone = 0; tone < channels; ++tone) {
      const double level = toneLevelDb(recorded.channels[channel], frequencyOf(tone), rateHz);
      if (tone == channel) {
        EXPECT_NEAR(level, 20 * std::log10(amplitudeOf(channel)), 0.001) << "channel " << channel;
      } else {
        EXPECT_LT(level, -80) << "tone " << tone << " on channel " << channel;
      }
    }
  }
}

class DriverAudio : public DriverFixture {
 protected:
  void expectLoop(std::vector<std::string> player, std::vector<std::string> recorder, std::size_t channels) {
    const auto playing = play(server_, std::move(player), tones(channels), "played.wav");
    Recording recording(server_, std::move(recorder), "recorded.wav");
    const auto recorded = recording.waitForSound(measuredFrames);
    ASSERT_TRUE(recorded) << playing->error() << server_.logs();
    expectTones(*recorded, channels);
  }
};

TEST_F(DriverAudio, nativeToNativeByName) {
  publish({{"a", "A", 2}});
  expectLoop(nativePlayer("a", 2), nativeRecorder("a.source", 2), 2);
}

TEST_F(DriverAudio, nativeToNativeBySerial) {
  publish({{"a", "A", 2}});
  const ServerDump current = dump();
  expectLoop(nativePlayer(std::to_string(current.node("a")->serial), 2),
             nativeRecorder(std::to_string(current.node("a.source")->serial), 2), 2);
}

TEST_F(DriverAudio, pulseToPulseByName) {
  publish({{"a", "A", 2}});
  expectLoop(pulsePlayer("a", 2), pulseRecorder("a.source", 2), 2);
}

TEST_F(DriverAudio, pulseToNative) {
  publish({{"a", "A", 2}});
  expectLoop(pulsePlayer("a", 2), nativeRecorder("a.source", 2), 2);
}

TEST_F(DriverAudio, nativeToPulse) {
  publish({{"a", "A", 2}});
  expectLoop(nativePlayer("a", 2), pulseRecorder("a.source", 2), 2);
}

TEST_F(DriverAudio, fourChannelsStayApart) {
  publish({{"a", "A", 4}});
  expectLoop(nativePlayer("a", 4), nativeRecorder("a.source", 4), 4);
}

TEST_F(DriverAudio, sixteenChannelsStayApart) {
  publish({{"a", "A", 16}});
  expectLoop(nativePlayer("a", 16), nativeRecorder("a.source", 16), 16);
}

TEST_F(DriverAudio, sixteenChannelsStayApartForPulseClients) {
  publish({{"a", "A", 16}});
  expectLoop(pulsePlayer("a", 16), pulseRecorder("a.source", 16), 16);
}

TEST_F(DriverAudio, recordsWhenTheSourceIsTheDefault) {
  publish({{"a", "A", 2}});
  ASSERT_EQ(
      server_.run({"pw-metadata", "0", "default.configured.audio.source", R"({"name":"a.source"})", "Spa:String:JSON"})
          .status,
      0);
  ASSERT_TRUE(waitUntil([&] {
    return server_.run({"pw-metadata", "0", "default.audio.source"}).output.find("\"a.source\"") != std::string::npos;
  }));
  expectLoop(nativePlayer("a", 2), nativeRecorder("", 2), 2);
}

TEST_F(DriverAudio, soundArrivesAlsoWhenTheRecorderWasFirst) {
  publish({{"a", "A", 2}});
  Recording recording(server_, nativeRecorder("a.source", 2), "recorded.wav");
  ASSERT_TRUE(recording.waitForMore(4800)) << "silence is recorded too";
  const auto playing = play(server_, nativePlayer("a", 2), tones(2), "played.wav");
  const auto recorded = recording.waitForSound(measuredFrames);
  ASSERT_TRUE(recorded);
  expectTones(*recorded, 2);
}

TEST_F(DriverAudio, theDevicesVolumeActsOnWhatIsRecorded) {
  publish({{"a", "A", 2}});
  const auto playing = play(server_, nativePlayer("a", 2), tones(2), "played.wav");
  Recording recording(server_, nativeRecorder("a.source", 2), "recorded.wav");
  ASSERT_TRUE(recording.waitForSound(measuredFrames));
  const auto sink = dump().node("a");
  ASSERT_TRUE(sink);
  // wpctl's volume is the cube root of the gain: 0.5 is a gain of 0.125, 20 log10(0.125) = -18.06 dB.
  ASSERT_EQ(server_.run({"wpctl", "set-volume", std::to_string(sink->id), "0.5"}).status, 0);
  const double expectedDb = 20 * std::log10(0.125 * amplitudeOf(0));
  EXPECT_TRUE(waitUntil([&] {
    const WavFile wav = recording.soFar();
    return std::abs(toneLevelDb(std::span(wav.channels[0]).last(4800), frequencyOf(0), rateHz) - expectedDb) < 0.01;
  }));
}

TEST_F(DriverAudio, aLaterDeviceDoesNotTakeTheVolumeOfAnother) {
  publish({{"a", "A", 2}});
  const auto volumeOf = [this](const char* name) {
    const auto node = dump().node(name);
    return node ? server_.run({"wpctl", "get-volume", std::to_string(node->id)}).output : "";
  };
  ASSERT_EQ(server_.run({"wpctl", "set-volume", std::to_string(dump().node("a")->id), "0.5"}).status, 0);
  ASSERT_TRUE(waitUntil([&] { return volumeOf("a") == "Volume: 0.50\n"; })) << volumeOf("a");
  publish({{"a", "A", 2}, {"b", "B", 2}});
  // The session manager gives a node what it remembers of it as soon as it sees it.
  Recording recording(server_, nativeRecorder("b.source", 2), "recorded.wav");
  ASSERT_TRUE(recording.waitForMore(4800));
  EXPECT_EQ(volumeOf("b"), "Volume: 1.00\n");
  EXPECT_EQ(volumeOf("a"), "Volume: 0.50\n");
}

TEST_F(DriverAudio, twoDevicesDoNotMix) {
  publish({{"a", "A", 2}, {"b", "B", 2}});
  WavFile other;
  other.channels.assign(2, sineTone(30 * 48000, 5000, 0.5, rateHz));
  const auto playingB = play(server_, nativePlayer("b", 2), other, "other.wav");
  const auto playingA = play(server_, nativePlayer("a", 2), tones(2), "played.wav");
  Recording recordingA(server_, nativeRecorder("a.source", 2), "a.wav");
  Recording recordingB(server_, nativeRecorder("b.source", 2), "b.wav");
  const auto a = recordingA.waitForSound(measuredFrames);
  const auto b = recordingB.waitForSound(measuredFrames);
  ASSERT_TRUE(a && b);
  expectTones(*a, 2);
  EXPECT_LT(toneLevelDb(a->channels[0], 5000, rateHz), -80);
  EXPECT_NEAR(toneLevelDb(b->channels[1], 5000, rateHz), 20 * std::log10(0.5), 0.001);
}

TEST_F(DriverAudio, renamingDoesNotBreakARunningRecording) {
  publish({{"a", "A", 2}});
  const auto before = dump().node("a.source");
  expectUnbroken(server_, "a", "a.source", [this](const LoopProbe& probe) {
    for (const char* name : {"B", "C", "D", "E"}) {
      publish({{"a", name, 2}});
      ASSERT_TRUE(probe.waitForMore(4800));
    }
  });
  EXPECT_EQ(dump().node("a.source")->property("node.description"), "E");
  EXPECT_EQ(dump().node("a.source")->serial, before->serial);
}

TEST_F(DriverAudio, otherDevicesComingAndGoingDoNotBreakARunningRecording) {
  publish({{"a", "A", 2}});
  expectUnbroken(server_, "a", "a.source", [this](const LoopProbe& probe) {
    publish({{"b", "B", 4}, {"a", "A", 2}});
    ASSERT_TRUE(probe.waitForMore(4800));
    publish({{"b", "B", 16}, {"a", "A", 2}});
    ASSERT_TRUE(probe.waitForMore(4800));
    publish({{"a", "A", 2}});
    ASSERT_TRUE(probe.waitForMore(4800));
  });
}

}  // namespace
}  // namespace brindlemux::test
