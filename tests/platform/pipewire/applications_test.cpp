#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/discovery.h"
#include "platform/pipewire/heard.h"
#include "platform/pipewire/server_fixture.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

class Applications : public PipeWireServer {
 protected:
  std::optional<AudioProcessInfo> process(const std::string& name) {
    const Discovery discovery(*hardware_, hardware_->runningApplications());
    for (const AudioProcessInfo& info : discovery.listAudioProcesses()) {
      if (info.name == name) return info;
    }
    return std::nullopt;
  }

  void addSurroundSink() {
    const auto loaded = server_.run({"pactl", "load-module", "module-null-sink", "sink_name=surround", "channels=6",
                                     "channel_map=front-left,front-right,front-center,lfe,rear-left,rear-right"});
    ASSERT_EQ(loaded.status, 0) << loaded.error;
    ASSERT_TRUE(waitUntil([&] { return channels("surround", kAudioObjectPropertyScopeOutput) == 6; }));
  }

  /// A file of so many channels with a tone of amplitude 0.1 at 1000 Hz, 2000 Hz and so on in each.
  std::string writeTones(std::size_t channels) {
    const auto path = server_.folder() / "tones.wav";
    WavFile file{.sampleRateHz = 48000, .channels = {}};
    for (std::size_t i = 1; i <= channels; ++i) {
      file.channels.push_back(sineTone(48000 * 30, 1000.0 * static_cast<double>(i), 0.1, 48000));
    }
    writeWav(path, file);
    return path.string();
  }
};

TEST_F(Applications, surroundIsMixedDownToStereo) {
  addSurroundSink();
  Heard heard;
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, heard.recorder());
  const auto player =
      server_.launch({"paplay", "--device=surround",
                      "--channel-map=front-left,front-right,front-center,lfe,rear-left,rear-right", writeTones(6)});
  // Amplitude 0.1 is -20 dB; the centre and the surround are 3.01 dB less; the fourth channel is left out.
  EXPECT_EQ(heard.differencesFrom({{1000, {-20, silenceDb}},
                                   {2000, {silenceDb, -20}},
                                   {3000, {-23.01, -23.01}},
                                   {4000, {silenceDb, silenceDb}},
                                   {5000, {-23.01, silenceDb}},
                                   {6000, {silenceDb, -23.01}}}),
            "")
      << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

TEST_F(Applications, stereoOnASurroundDeviceKeepsItsLevel) {
  addSurroundSink();
  Heard heard;
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, heard.recorder());
  const auto player = server_.launch({"paplay", "--device=surround", writeTones(2)});
  EXPECT_EQ(heard.differencesFrom({{1000, {-20, silenceDb}}, {2000, {silenceDb, -20}}}), "") << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

// jack_simple_client plays 240 Hz from its first output and 720 Hz from its second, both at an amplitude of 0.2, which
// is -13.98 dB, into the default device.
constexpr const char* jackClient = "jack_simple_client";
constexpr double jackLevelDb = -13.98;

TEST_F(Applications, monoReachesBothSides) {
  Heard heard;
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, heard.recorder());
  const auto player = server_.launch({"paplay", writeTones(1)});
  EXPECT_EQ(heard.differencesFrom({{1000, {-20, -20}}}), "") << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

TEST_F(Applications, oneThatHasJustEndedIsTappedInSilence) {
  std::optional<AudioProcessInfo> ended;
  {
    const auto player = server_.launch({"paplay", writeTones(2)});
    ASSERT_TRUE(waitUntil([&] { return (ended = process("paplay")).has_value(); })) << server_.logs();
  }
  ASSERT_TRUE(waitUntil([&] { return !process("paplay"); })) << server_.logs();
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::only, .processes = {ended->id}});
  // What another application plays is heard by who taps everything, and not here.
  const auto other = server_.launch({"paplay", writeTones(2)});
  const RunningTap everything = startTap(*hardware_);
  EXPECT_TRUE(waitUntil([&] { return everything.sounding->load() > 20; })) << server_.logs();
  EXPECT_EQ(tap.sounding->load(), 0);
  EXPECT_EQ(hardware_->stopDevice(everything.aggregate, everything.procedure), noErr);
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

TEST_F(Applications, aJackClientIsAnApplicationThatPlaysWhileItIsLinked) {
  const auto client = server_.launch({"pw-jack", jackClient});
  ASSERT_TRUE(waitUntil([&] {
    const auto found = process(jackClient);
    return found && found->isPlaying;
  })) << server_.logs();
  EXPECT_EQ(process(jackClient)->bundleID, jackClient);
  EXPECT_EQ(server_.run({"pw-link", "-d", "jack_simple_client:output1", "speakers:playback_FL"}).status, 0);
  EXPECT_EQ(server_.run({"pw-link", "-d", "jack_simple_client:output2", "speakers:playback_FR"}).status, 0);
  EXPECT_TRUE(waitUntil([&] {
    const auto found = process(jackClient);
    return found && !found->isPlaying;
  }));
}

TEST_F(Applications, aJackClientIsTapped) {
  const auto client = server_.launch({"pw-jack", jackClient});
  ASSERT_TRUE(waitUntil([&] {
    const auto found = process(jackClient);
    return found && found->isPlaying;
  })) << server_.logs();
  Heard heard;
  const RunningTap tap = startTap(*hardware_, {.processes = {process(jackClient)->id}}, heard.recorder());
  EXPECT_EQ(heard.differencesFrom({{240, {jackLevelDb, silenceDb}}, {720, {silenceDb, jackLevelDb}}}), "")
      << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

TEST_F(Applications, systemAudioHasOfAJackClientWhatReachesADevice) {
  const auto client = server_.launch({"pw-jack", jackClient});
  const RunningTap tap = startTap(*hardware_);
  const auto tapLinks = [this] {
    const ServerDump dump(server_);
    const auto from = dump.node(jackClient);
    const auto to = dump.node("brindlemux.tap");
    return from && to ? dump.linkCount(*from, *to) : -1;
  };
  EXPECT_TRUE(waitUntil([&] { return tapLinks() == 2; })) << server_.logs();
  EXPECT_EQ(server_.run({"pw-link", "-d", "jack_simple_client:output2", "speakers:playback_FR"}).status, 0);
  EXPECT_TRUE(waitUntil([&] { return tapLinks() == 1; })) << tapLinks();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
}

}  // namespace
}  // namespace brindlemux::test
