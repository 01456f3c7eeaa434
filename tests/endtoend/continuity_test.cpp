#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "endtoend/graph_text.h"
#include "endtoend/levels.h"
#include "endtoend/numbered_samples.h"
#include "endtoend/recorder.h"
#include "endtoend/routing_session.h"
#include "support/stall_watch.h"

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

/// One of the places at which the sound is recorded, and what has arrived there so far.
class Place {
 public:
  Place(std::string name, const Recorder& recorder) : name_(std::move(name)), recorder_(recorder) {}

  const std::string& name() const { return name_; }
  /// What is followed begins `later` frames from now.
  void startIn(std::size_t later) { start_ = recorder_.frames() + later; }
  bool waitFor(std::size_t frames) const { return recorder_.waitForFrames(start_ + frames, std::chrono::seconds(80)); }
  /// Reads the recording again and follows both sides to its end.
  void follow(const std::vector<float>& left, const std::vector<float>& right) {
    const auto recorded = recorder_.all();
    end_ = StallWatch::Clock::now();
    frames_ = recorded[0].size();
    sides_ = {followToTheEnd(left, recorded[0], start_), followToTheEnd(right, recorded[1], start_)};
  }
  const std::array<Course, 2>& sides() const { return sides_; }
  bool hasAnExactMinute() const {
    return std::ranges::all_of(sides_, [](const Course& side) { return side.longestExact >= minute; });
  }
  /// Frames from the start to the last departure of either side.
  std::size_t lastDeparture() const {
    std::size_t last = 0;
    for (const Course& side : sides_) {
      if (!side.departures.empty()) last = std::max(last, side.departures.back().at - start_);
    }
    return last;
  }
  /// The departures at a time when the machine did not stand still.
  std::string faults(const StallWatch& machine) const {
    // A recording's file is some tenths of a second behind.
    constexpr std::chrono::seconds near(1);
    std::string text;
    for (const Course& side : sides_) {
      for (const Departure& departure : side.departures) {
        const auto at = end_ - std::chrono::milliseconds((frames_ - departure.at) * 1000 / second);
        if (!machine.sawOneBetween(at - near, at + near)) text += name_ + " " + departure.text + "\n";
      }
    }
    return text;
  }

  static constexpr std::size_t minute = 60 * second;

 private:
  std::string name_;
  const Recorder& recorder_;
  std::size_t start_ = 0;
  std::size_t frames_ = 0;
  StallWatch::Clock::time_point end_;
  std::array<Course, 2> sides_;
};

class Continuity : public testing::TestWithParam<Origin> {};

TEST_P(Continuity, aMinuteIsUnchangedToTheLastBitAtDeviceAndMonitor) {
  constexpr std::size_t startUp = 3 * second;
  constexpr std::size_t most = 125 * second;
  const auto left = numberedSamples(most + 15 * second, 1);
  const auto right = numberedSamples(most + 15 * second, 8000000);

  const StallWatch machine;
  RoutingSession session(2, unityGraph(GetParam().kind));
  const Recorder atDevice(session, Recorder::Interface::pulse, Recorder::Of::input,
                          std::string(RoutingSession::deviceUID) + ".source", 2);
  const Recorder atMonitor(session, Recorder::Interface::pulse, Recorder::Of::output, "headphones", 2);
  const Recorder atOrigin(session, Recorder::Interface::pulse, GetParam().side, GetParam().node, 2);
  const auto player = GetParam().play(session, session.writeStereo("numbered.wav", left, right));
  ASSERT_TRUE(session.waitUntilLinked(GetParam().output, GetParam().input)) << session.report();

  // What is compared begins once the route has been running for the length of the start-up.
  std::array<Place, 2> places = {Place("device", atDevice), Place("monitor", atMonitor)};
  // What is lost before the program has it is lost there too: it is told with a fault, not judged.
  Place origin("origin", atOrigin);
  for (Place& place : places) place.startIn(startUp);
  origin.startIn(startUp);

  // A machine that stands still for longer than a block loses sound whatever the program does. The minute begins again
  // then; at any other time nothing may be lost.
  std::size_t wanted = Place::minute + second;
  for (;;) {
    std::string faults;
    bool isDone = true;
    std::size_t lastDeparture = 0;
    for (Place& place : places) {
      ASSERT_TRUE(place.waitFor(wanted)) << place.name() << "\n" << session.report();
      place.follow(left, right);
      ASSERT_TRUE(place.sides()[0].offset) << place.name();
      EXPECT_EQ(place.sides()[0].offset, place.sides()[1].offset) << place.name();
      faults += place.faults(machine);
      isDone = isDone && place.hasAnExactMinute();
      lastDeparture = std::max(lastDeparture, place.lastDeparture());
    }
    if (!faults.empty()) {
      origin.follow(left, right);
      for (const Course& side : origin.sides()) {
        for (const Departure& departure : side.departures) faults += "origin " + departure.text + "\n";
      }
    }
    ASSERT_EQ(faults, "") << machine.stalls().size() << " stalls\n" << session.report();
    if (isDone) break;
    wanted = lastDeparture + Place::minute + second;
    if (wanted > most) GTEST_SKIP() << "the machine stands still too often: " << machine.stalls().size() << " times";
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
