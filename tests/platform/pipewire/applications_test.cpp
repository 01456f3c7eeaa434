#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/discovery.h"
#include "platform/pipewire/server_fixture.h"
#include "support/server_dump.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"
#include "support/wav_file.h"

namespace brindlemux::test {
namespace {

/// What a tap hears, left and right. Written by its procedure up to a fixed length, read once it is full.
class Heard {
 public:
  explicit Heard(std::size_t frames) : frames_(frames) {
    for (auto& side : sides_) side.resize(frames);
  }

  /// Begins with the first sound on either side.
  IOBlock recorder() {
    return [this](AudioBufferList input) {
      const std::size_t length = input[0].byteSize / sizeof(float);
      std::size_t at = at_;
      for (std::size_t i = 0; i < length && at < frames_; ++i) {
        if (at == 0 && input[0].data[i] == 0.0F && input[1].data[i] == 0.0F) continue;
        for (std::size_t side = 0; side < 2; ++side) sides_[side][at] = input[side].data[i];
        ++at;
      }
      at_ = at;
    };
  }
  bool isComplete() const { return at_ == frames_; }

  /// The level of a tone on the left and on the right, in dB, leaving out the beginning.
  std::array<double, 2> levels(double frequencyHz) const {
    std::array<double, 2> levels = {};
    for (std::size_t side = 0; side < 2; ++side) {
      levels[side] = toneLevelDb(std::span(sides_[side]).subspan(frames_ / 4), frequencyHz, 48000);
    }
    return levels;
  }

 private:
  const std::size_t frames_;
  std::array<std::vector<float>, 2> sides_;
  std::atomic<std::size_t> at_ = 0;
};

constexpr double silenceDb = -70;

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
  Heard heard(48000);
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, heard.recorder());
  const auto player =
      server_.launch({"paplay", "--device=surround",
                      "--channel-map=front-left,front-right,front-center,lfe,rear-left,rear-right", writeTones(6)});
  ASSERT_TRUE(waitUntil([&] { return heard.isComplete(); })) << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
  // Amplitude 0.1 is -20 dB; the centre and the surround are 3.01 dB less; the fourth channel is left out.
  const std::map<double, std::array<double, 2>> expected = {{1000, {-20, silenceDb}},    {2000, {silenceDb, -20}},
                                                            {3000, {-23.01, -23.01}},    {4000, {silenceDb, silenceDb}},
                                                            {5000, {-23.01, silenceDb}}, {6000, {silenceDb, -23.01}}};
  for (const auto& [frequency, levels] : expected) {
    for (std::size_t side = 0; side < 2; ++side) {
      const double level = heard.levels(frequency)[side];
      if (levels[side] == silenceDb) {
        EXPECT_LT(level, silenceDb) << frequency << " Hz, side " << side;
      } else {
        EXPECT_NEAR(level, levels[side], 0.05) << frequency << " Hz, side " << side;
      }
    }
  }
}

TEST_F(Applications, stereoOnASurroundDeviceKeepsItsLevel) {
  addSurroundSink();
  Heard heard(48000);
  const RunningTap tap = startTap(*hardware_, {.selection = TapDescription::Selection::allExcept}, heard.recorder());
  const auto player = server_.launch({"paplay", "--device=surround", writeTones(2)});
  ASSERT_TRUE(waitUntil([&] { return heard.isComplete(); })) << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
  EXPECT_NEAR(heard.levels(1000)[0], -20, 0.05);
  EXPECT_NEAR(heard.levels(2000)[1], -20, 0.05);
  EXPECT_LT(heard.levels(1000)[1], silenceDb);
  EXPECT_LT(heard.levels(2000)[0], silenceDb);
}

// jack_simple_client plays 240 Hz from its first output and 720 Hz from its second, both at an amplitude of 0.2, which
// is -13.98 dB, into the default device.
constexpr const char* jackClient = "jack_simple_client";
constexpr double jackLevelDb = -13.98;

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
  Heard heard(48000);
  const RunningTap tap = startTap(*hardware_, {.processes = {process(jackClient)->id}}, heard.recorder());
  ASSERT_TRUE(waitUntil([&] { return heard.isComplete(); })) << server_.logs();
  EXPECT_EQ(hardware_->stopDevice(tap.aggregate, tap.procedure), noErr);
  EXPECT_NEAR(heard.levels(240)[0], jackLevelDb, 0.05);
  EXPECT_NEAR(heard.levels(720)[1], jackLevelDb, 0.05);
  EXPECT_LT(heard.levels(720)[0], silenceDb);
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
