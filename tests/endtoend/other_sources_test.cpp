#include <gtest/gtest.h>

#include "endtoend/expected_tones.h"
#include "endtoend/levels.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {
namespace {

/// A graph of one stereo source, crossed into the device, which `monitor` plays. The block is one that a machine
/// without real-time guarantees holds.
std::string crossedGraph(const std::string& kind, const std::string& monitor) {
  return R"({
  "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F": {
    "deviceUID": "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F",
    "masterGain": 0.5,
    "latencyFrames": 2048,
    "sources": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "kind": )" +
         kind + R"(}],
    "wires": [
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 0, "outputChannel": 1},
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 1, "outputChannel": 0}
    ],
    "monitors": [
      {"id": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "deviceUID": ")" +
         monitor + R"(", "name": "Monitor"}
    ],
    "monitorWires": [
      {"outputChannel": 0, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 0},
      {"outputChannel": 1, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 1}
    ]
  }
})";
}

TEST(InputDeviceSource, whatAnInputDeliversReachesDeviceAndMonitor) {
  RoutingSession session(2, crossedGraph(R"({"mic": {"deviceUID": "mic", "name": "Microphone"}})", "headphones"));
  ASSERT_TRUE(session.waitUntilLinked("mic:capture_FR", "brindlemux.input.mic:input_2")) << session.report();
  const auto player = session.playIntoMicrophone(session.writeStereo(
      "tones.wav", sineTone(60 * second, 1000, 0.5, rate), sineTone(60 * second, 1500, 0.25, rate)));

  const Recorder device(session, Recorder::Interface::pulse, Recorder::Of::input,
                        std::string(RoutingSession::deviceUID) + ".source", 2);
  const Recorder monitor(session, Recorder::Interface::pulse, Recorder::Of::output, "headphones", 2);
  ASSERT_TRUE(device.waitForFrames(second) && monitor.waitForFrames(second)) << session.report();
  for (const Recorder* recorder : {&device, &monitor}) {
    EXPECT_EQ(differencesInNext(*recorder, {{0, 1500, 0.25 * 0.5}, {1, 1000, 0.5 * 0.5}}), "");
  }
}

TEST(SystemAudioSource, everyPlayerIsHeardAndTheProgramItselfIsNot) {
  // The monitor plays into the very output that the players use: if the program heard itself, the level would grow
  // from block to block until the limiter held it.
  RoutingSession session(2, crossedGraph(R"({"systemAudio": {}})", "speakers"));
  const auto low =
      session.writeStereo("low.wav", sineTone(60 * second, 1000, 0.25, rate), sineTone(60 * second, 1500, 0.125, rate));
  const auto high = session.writeStereo("high.wav", sineTone(60 * second, 3000, 0.25, rate),
                                        sineTone(60 * second, 4000, 0.125, rate));
  const auto native = session.play(low);
  const auto pulse = session.server().launch({"paplay", "--client-name=second", high.string()});
  ASSERT_TRUE(session.waitUntilLinked("pw-play:output_FR", "brindlemux.tap:input_2")) << session.report();
  ASSERT_TRUE(session.waitUntilLinked("second:output_FR", "brindlemux.tap:input_2")) << session.report();

  const Recorder device(session, Recorder::Interface::pulse, Recorder::Of::input,
                        std::string(RoutingSession::deviceUID) + ".source", 2);
  const Recorder output(session, Recorder::Interface::pulse, Recorder::Of::output, "speakers", 2);
  ASSERT_TRUE(device.waitForFrames(second) && output.waitForFrames(second)) << session.report();
  EXPECT_EQ(differencesInNext(
                device, {{1, 1000, 0.25 * 0.5}, {0, 1500, 0.125 * 0.5}, {1, 3000, 0.25 * 0.5}, {0, 4000, 0.125 * 0.5}}),
            "");
  // The output has each player on its own side, and the device's crossed half of it on the other.
  EXPECT_EQ(differencesInNext(output, {{0, 1000, 0.25}, {1, 1000, 0.25 * 0.5}}), "");
}

}  // namespace
}  // namespace brindlemux::test
