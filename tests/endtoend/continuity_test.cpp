#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <tuple>

#include "endtoend/levels.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"

namespace brindlemux::test {
namespace {

/// A source and how its sound gets there.
struct Origin {
  const char* name;
  const char* kind;  ///< as the graphs file has it
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
  return R"({
  "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F": {
    "deviceUID": "BrindlemuxAudio_UID_5D9F2C1E-0B6A-4C38-9E47-1A2B3C4D5E6F",
    "latencyFrames": 2048,
    "sources": [{"id": "0F8FAD5B-D9CB-469F-A165-70867728950E", "kind": )" +
         kind + R"(}],
    "wires": [
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 0, "outputChannel": 0},
      {"sourceID": "0F8FAD5B-D9CB-469F-A165-70867728950E", "sourceChannel": 1, "outputChannel": 1}
    ],
    "monitors": [
      {"id": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "deviceUID": "headphones", "name": "Headphones"}
    ],
    "monitorWires": [
      {"outputChannel": 0, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 0},
      {"outputChannel": 1, "monitorID": "7C9E6679-7425-40DE-944B-E07FC1F90AE7", "monitorChannel": 1}
    ]
  }
})";
}

/// Samples that tell where they come from: every value of magnitude 0.25 to 0.75 that a float has there, in an order
/// that does not repeat for 2^24 frames. All of them lie below the limiter's knee of 0.9.
std::vector<float> numberedSamples(std::size_t frames, std::uint32_t seed) {
  std::vector<float> samples(frames);
  std::uint32_t state = seed;
  for (float& sample : samples) {
    // A full-period generator modulo 2^24: multiplier - 1 divisible by 4, odd increment.
    state = (state * 1140671485U + 12820163U) & 0xFFFFFFU;
    const float magnitude = 0.25F + static_cast<float>(state >> 1U) / static_cast<float>(1U << 24U);
    sample = (state & 1U) != 0 ? magnitude : -magnitude;
  }
  return samples;
}

/// How a recording follows what was played.
struct Comparison {
  std::size_t exactFrames = 0;        ///< from the start of the comparison to the first departure
  std::optional<std::size_t> offset;  ///< of the recording's start in what was played; nothing when it was not found
  std::string departure;              ///< what stands at the first departure, for a failure's message
};

/// What a recording has from frame `at` on, where it should have gone on with frame `expected` of what was played.
std::string describeDeparture(const std::vector<float>& played, std::size_t expected,
                              const std::vector<float>& recorded, std::size_t at) {
  std::size_t silent = 0;
  while (at + silent < recorded.size() && recorded[at + silent] == 0.0F) ++silent;
  std::string text =
      "at frame " + std::to_string(expected) + " of the player: " + std::to_string(silent) + " of silence";
  if (at + silent == recorded.size()) return text + " to the end";
  const auto resumed = std::find(played.begin(), played.end(), recorded[at + silent]);
  if (resumed == played.end()) return text + ", then what was never played";
  return text + ", then frame " + std::to_string(resumed - played.begin());
}

/// Follows the recording from frame `start` on through what was played.
Comparison compare(const std::vector<float>& played, const std::vector<float>& recorded, std::size_t start) {
  Comparison result;
  const auto found = std::find(played.begin(), played.end(), recorded[start]);
  if (found == played.end()) return result;
  result.offset = static_cast<std::size_t>(found - played.begin());
  const std::size_t length = std::min(played.size() - *result.offset, recorded.size() - start);
  std::size_t& exact = result.exactFrames;
  while (exact < length && played[*result.offset + exact] == recorded[start + exact]) ++exact;
  if (exact < length) result.departure = describeDeparture(played, *result.offset + exact, recorded, start + exact);
  return result;
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

INSTANTIATE_TEST_SUITE_P(
    Origins, Continuity,
    testing::Values(Origin{"application", R"({"app": {"bundleID": "pw-cat", "name": "Player"}})", playToOutput,
                           "pw-play:output_FR", "brindlemux.tap:input_2", Recorder::Of::output, "speakers"},
                    Origin{"microphone", R"({"mic": {"deviceUID": "mic", "name": "Microphone"}})", playToMicrophone,
                           "mic:capture_FR", "brindlemux.input.mic:input_2", Recorder::Of::input, "mic"},
                    Origin{"systemAudio", R"({"systemAudio": {}})", playToOutput, "pw-play:output_FR",
                           "brindlemux.tap:input_2", Recorder::Of::output, "speakers"}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace brindlemux::test
