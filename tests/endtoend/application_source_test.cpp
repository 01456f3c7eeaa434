#include <algorithm>
#include <chrono>
#include <csignal>
#include <gtest/gtest.h>

#include "endtoend/expected_tones.h"
#include "endtoend/levels.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"
#include "support/tone_analysis.h"
#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

bool isSilent(const std::vector<float>& samples) {
  return !samples.empty() && std::ranges::all_of(samples, [](float sample) { return sample == 0.0F; });
}

/// The player's channels 0 and 1 to the device's outputs 2 and 3, and those to the headphones.
///
/// Left: 0.5 (channel gain) * 0.8 (master) * 0.5 (output 2) = 0.2. Right: 0.25 (the source's gain, since there is no
/// second channel gain) * 0.8 * 0.5 (output 3) = 0.1. The monitor halves both. The block is one that a machine without
/// real-time guarantees holds.
constexpr const char* fourChannelGraph = R"({
  "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F": {
    "deviceUID": "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F",
    "enabled": true,
    "masterGain": 0.8,
    "outputGains": [1.0, 1.0, 0.5, 0.5],
    "latencyFrames": 2048,
    "sources": [
      {"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "enabled": true, "gain": 0.25, "channelGains": [0.5],
       "kind": {"app": {"bundleID": "pw-cat", "name": "Player"}}}
    ],
    "wires": [
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 0, "outputChannel": 2},
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 1, "outputChannel": 3}
    ],
    "monitors": [
      {"id": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "deviceUID": "headphones", "name": "Headphones", "gain": 0.5,
       "enabled": true}
    ],
    "monitorWires": [
      {"outputChannel": 2, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 0},
      {"outputChannel": 3, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 1}
    ]
  }
})";

class ApplicationSource : public testing::TestWithParam<Recorder::Interface> {};

TEST_P(ApplicationSource, tonesReachTheWiredChannelsAtTheirLevels) {
  RoutingSession session(4, fourChannelGraph);
  const auto tones =
      session.writeStereo("tones.wav", sineTone(60 * second, 1000, 0.5, rate), sineTone(60 * second, 1500, 0.25, rate));
  const auto player = session.play(tones);
  ASSERT_TRUE(session.waitUntilLinked("pw-play:output_FR", "brindlemux.tap:input_2")) << session.report();

  const Recorder device(session, GetParam(), Recorder::Of::input, std::string(RoutingSession::deviceUID) + ".source",
                        4);
  const Recorder monitor(session, GetParam(), Recorder::Of::output, "headphones", 2);
  const Recorder own(session, GetParam(), Recorder::Of::output, "speakers", 2);
  ASSERT_TRUE(device.waitForFrames(second) && monitor.waitForFrames(second) && own.waitForFrames(second))
      << session.report();

  // Nothing of one side is on the other.
  const double left = 0.5 * 0.2;
  const double right = 0.25 * 0.1;
  EXPECT_EQ(differencesInNext(device, {{2, 1000, left}, {3, 1500, right}, {2, 1500, 0}, {3, 1000, 0}}), "");
  EXPECT_EQ(differencesInNext(monitor, {{0, 1000, left * 0.5}, {1, 1500, right * 0.5}}), "");
  EXPECT_EQ(differencesInNext(own, {{0, 1000, 0.5}, {1, 1500, 0.25}}), "");
  const auto heard = device.all();
  EXPECT_TRUE(isSilent(heard[0]));
  EXPECT_TRUE(isSilent(heard[1]));
}

INSTANTIATE_TEST_SUITE_P(Recorders, ApplicationSource,
                         testing::Values(Recorder::Interface::native, Recorder::Interface::pulse),
                         [](const auto& test) {
                           return test.param == Recorder::Interface::native ? "native" : "pulse";
                         });

/// How often a recorder's file is looked at while a sound is waited for.
constexpr std::size_t glance = second / 50;

bool isSounding(const Recorder& recorder, std::size_t channel) {
  const auto latest = recorder.newest(glance)[channel];
  return !latest.empty() && !isSilent(latest);
}

class ReturningPlayer : public testing::TestWithParam<const char*> {};

TEST_P(ReturningPlayer, isRoutedAgainByItself) {
  std::string graph = fourChannelGraph;
  const std::string application = R"({"app": {"bundleID": "pw-cat", "name": "Player"}})";
  graph.replace(graph.find(application), application.size(), GetParam());
  RoutingSession session(4, graph);
  const auto tones =
      session.writeStereo("tones.wav", sineTone(60 * second, 1000, 0.5, rate), sineTone(60 * second, 1500, 0.25, rate));
  // A recorder of the player's own kind would be the same application.
  const Recorder device(session, Recorder::Interface::pulse, Recorder::Of::input,
                        std::string(RoutingSession::deviceUID) + ".source", 4);
  const Recorder own(session, Recorder::Interface::pulse, Recorder::Of::output, "speakers", 2);

  for (int round = 0; round < 2; ++round) {
    const auto player = session.play(tones);
    ASSERT_TRUE(waitUntil([&] { return isSounding(own, 0); })) << session.report();
    const auto playing = std::chrono::steady_clock::now();
    ASSERT_TRUE(waitUntil([&] { return isSounding(device, 2); })) << session.report();
    const std::chrono::duration<double> delay = std::chrono::steady_clock::now() - playing;
    EXPECT_LE(delay.count(), 2.5);
    RecordProperty("secondsUntilRouted" + std::to_string(round), std::to_string(delay.count()));
    EXPECT_EQ(differencesInNext(device, {{2, 1000, 0.5 * 0.2}, {3, 1500, 0.25 * 0.1}}), "");
    player->stop(SIGTERM);
    ASSERT_TRUE(waitUntil([&] { return !isSounding(device, 2); })) << session.report();
  }
}

INSTANTIATE_TEST_SUITE_P(Sources, ReturningPlayer,
                         testing::Values(R"({"app": {"bundleID": "pw-cat", "name": "Player"}})",
                                         R"({"systemAudio": {}})"),
                         [](const auto& test) { return test.index == 0 ? "application" : "systemAudio"; });

}  // namespace
}  // namespace brindlemux::test
