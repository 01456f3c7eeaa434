#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string>
#include <tuple>

#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/numbered_samples.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"

namespace brindlemux::test {
namespace {

/// A source and how its sound gets there.
struct Origin {
  const char* name;
  std::string kind;  ///< as the graphs file has it
  std::unique_ptr<ChildProcess> (*play)(const RoutingSession& session, const std::filesystem::path& file);
  /// The last link of the way to the program.
  const char* output;
  const char* input;
  /// Where the sound can be recorded before it reaches the program.
  Recorder::Of side;
  const char* node;

  friend void PrintTo(const Origin& origin, std::ostream* stream) { *stream << origin.name; }
};

std::unique_ptr<ChildProcess> playToOutput(const RoutingSession& session, const std::filesystem::path& file) {
  return session.play(file);
}
std::unique_ptr<ChildProcess> playToMicrophone(const RoutingSession& session, const std::filesystem::path& file) {
  return session.playIntoMicrophone(file);
}

/// The source's two channels to the device and the device to the headphones, all at unity gain. The block is one that a
/// machine without real-time guarantees holds.
std::string unityGraph(const std::string& kind) {
  return graphText({{"latencyFrames", "2048"}}, {{kind, {{0, 0}, {1, 1}}}}, {{"headphones", {{0, 0}, {1, 1}}}});
}

class Continuity : public testing::TestWithParam<Origin> {};

TEST_P(Continuity, aMinuteIsUnchangedToTheLastBitAtDeviceAndMonitor) {
  constexpr std::size_t startUp = 3 * second;
  constexpr std::size_t compared = 62 * second;
  const auto left = numberedSamples(80 * second, 1);
  const auto right = numberedSamples(80 * second, 5000000);

  RoutingSession session(2, unityGraph(GetParam().kind));
  const Recorder device(session, Recorder::Interface::pulse, Recorder::Of::input,
                        std::string(RoutingSession::deviceUID) + ".source", 2);
  const Recorder monitor(session, Recorder::Interface::pulse, Recorder::Of::output, "headphones", 2);
  const Recorder origin(session, Recorder::Interface::pulse, GetParam().side, GetParam().node, 2);
  const auto player = GetParam().play(session, session.writeStereo("numbered.wav", left, right));
  ASSERT_TRUE(session.waitUntilLinked(GetParam().output, GetParam().input)) << session.report();

  // What is compared begins once the route has been running for the length of the start-up.
  const std::size_t deviceStart = device.frames() + startUp;
  const std::size_t monitorStart = monitor.frames() + startUp;
  const std::size_t originStart = origin.frames() + startUp;
  ASSERT_TRUE(device.waitForFrames(deviceStart + compared, std::chrono::seconds(80))) << session.report();
  ASSERT_TRUE(monitor.waitForFrames(monitorStart + compared, std::chrono::seconds(10))) << session.report();
  ASSERT_TRUE(origin.waitForFrames(originStart + compared, std::chrono::seconds(10))) << session.report();

  const auto atDevice = device.all();
  const auto atMonitor = monitor.all();
  const auto atOrigin = origin.all();
  constexpr std::size_t minute = 60 * second;
  for (const auto& [name, recorded, start] : {std::tuple{"device", &atDevice, deviceStart},
                                              {"monitor", &atMonitor, monitorStart},
                                              {"origin", &atOrigin, originStart}}) {
    const Comparison first = compare(left, (*recorded)[0], start);
    const Comparison other = compare(right, (*recorded)[1], start);
    EXPECT_TRUE(first.offset.has_value()) << name;
    EXPECT_EQ(first.offset, other.offset) << name;
    EXPECT_GE(first.exactFrames, minute) << name << ", left: " << first.departure;
    EXPECT_GE(other.exactFrames, minute) << name << ", right: " << other.departure;
  }
}

INSTANTIATE_TEST_SUITE_P(Origins, Continuity,
                         testing::Values(Origin{"application", applicationKind("pw-cat"), playToOutput,
                                                "pw-play:output_FR", "brindlemux.tap:input_2", Recorder::Of::output,
                                                "speakers"},
                                         Origin{"microphone", inputKind("mic"), playToMicrophone, "mic:capture_FR",
                                                "brindlemux.input.mic:input_2", Recorder::Of::input, "mic"},
                                         Origin{"systemAudio", systemAudioKind(), playToOutput, "pw-play:output_FR",
                                                "brindlemux.tap:input_2", Recorder::Of::output, "speakers"}),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace brindlemux::test
