// Every call that an engine makes fails once, in turn, with a status of its own.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>

#include "engine/promised_messages.h"
#include "engine/routed_scenario.h"

namespace brindlemux {
namespace {

using test::EnginePart;
using test::RoutedScenario;
using test::ScenarioClock;
using test::ScenarioRates;
using testing::IsEmpty;
using testing::SizeIs;

struct Part {
  EnginePart kind;
  std::string device;
};

/// In the order in which an engine starts them.
const std::vector<Part> parts = {{EnginePart::input, "Microphone"},
                                 {EnginePart::tap, ""},
                                 {EnginePart::tap, ""},
                                 {EnginePart::output, "BrindlemuxAudio_UID_A"},
                                 {EnginePart::input, "BrindlemuxAudio_UID_A"},
                                 {EnginePart::output, "Speakers"},
                                 {EnginePart::output, "Headphones"}};

constexpr std::size_t noPart = 1000;

/// The resources of all parts but one.
std::vector<std::string> resourcesWithout(std::size_t missing) {
  std::vector<std::string> resources;
  for (std::size_t part = 0; part < parts.size(); ++part) {
    if (part == missing) continue;
    for (std::string& resource : test::resourcesOf(parts[part].kind, parts[part].device)) {
      resources.push_back(std::move(resource));
    }
  }
  std::sort(resources.begin(), resources.end());
  return resources;
}

std::vector<std::string> allResources() { return resourcesWithout(noPart); }

/// The part that the call at `index` belongs to: each ends with the call that starts it.
std::size_t partOf(const std::vector<std::string>& lines, std::size_t index) {
  const auto starts = [](const std::string& line) {
    return line.starts_with("startDevice") || line.starts_with("startOutputUnit");
  };
  return static_cast<std::size_t>(
      std::count_if(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(index), starts));
}

/// No two calls fail with the same status.
OSStatus statusOf(std::size_t index) { return -20000 - static_cast<OSStatus>(index); }

struct Variant {
  ScenarioRates rates;
  ScenarioClock clock;
};

class FailingCalls : public testing::TestWithParam<Variant> {
 protected:
  /// Every line of what `action` makes the engine call, reads too.
  template <typename Action>
  static std::vector<std::string> callsOf(RoutedScenario& scenario, Action action) {
    scenario.hardware.journal().keepReads({kAudioHardwarePropertyDevices, kAudioHardwarePropertyDefaultOutputDevice,
                                           kAudioHardwarePropertyTranslateUIDToDevice,
                                           kAudioHardwarePropertyTranslatePIDToProcessObject, kAudioObjectPropertyName,
                                           kAudioDevicePropertyDeviceUID, kAudioDevicePropertyStreamConfiguration,
                                           kAudioDevicePropertyNominalSampleRate, kAudioDevicePropertyBufferFrameSize,
                                           kAudioTapPropertyFormat, kAudioUnitType_Output});
    scenario.takeJournal();
    action();
    return scenario.takeJournal();
  }

  /// Reconciles while the call number `index` from here fails, and `failures` - 1 more after it.
  static std::vector<std::string> reconcileWithFailure(RoutedScenario& scenario, std::size_t index, int failures = 1) {
    const auto processes = scenario.discovery.listAudioProcesses();
    const auto devices = scenario.discovery.listAudioDevices();
    for (int i = 0; i < failures; ++i) {
      scenario.hardware.journal().failNext("", statusOf(index), static_cast<std::int64_t>(index));
    }
    auto lines = callsOf(scenario, [&] { scenario.reconcile(processes, devices); });
    EXPECT_EQ(scenario.hardware.journal().pendingFaults(), 0U) << "call " << index << " was not made";
    return lines;
  }

  static void expectRecovery(RoutedScenario& scenario, std::vector<std::string> expected, const std::string& context) {
    expectRecoveryOfResources(scenario, std::move(expected), context);
    scenario.expectSound(context);
  }

  static void expectRecoveryOfResources(RoutedScenario& scenario, std::vector<std::string> expected,
                                        const std::string& context) {
    scenario.engine->lastError = std::nullopt;
    scenario.reconcile();
    EXPECT_EQ(scenario.engine->lastError, std::nullopt) << context;
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(scenario.resources(), expected) << context;
  }

  /// Whether the call is the last of the polls by which an output learns that its device keeps another rate. Where that
  /// one fails, the output takes the device for one at 48000 Hz, and plays so.
  static bool isLastRatePoll(const std::vector<std::string>& lines, std::size_t index) {
    return GetParam().rates == ScenarioRates::other && lines[index].ends_with(" nsrt") &&
           lines.at(index + 1).find(" fsiz = ") != std::string::npos;
  }

  static std::vector<std::string> startingCalls() {
    RoutedScenario scenario(GetParam().rates, GetParam().clock);
    const auto processes = scenario.discovery.listAudioProcesses();
    const auto devices = scenario.discovery.listAudioDevices();
    return callsOf(scenario, [&] { scenario.reconcile(processes, devices); });
  }
};

TEST_P(FailingCalls, scenarioRunsUndisturbed) {
  const auto lines = startingCalls();
  EXPECT_EQ(partOf(lines, lines.size()), parts.size());
  RoutedScenario scenario(GetParam().rates, GetParam().clock);
  expectRecovery(scenario, allResources(), "undisturbed");
  EXPECT_THAT(callsOf(scenario, [&] { scenario.engine->stopAll(); }), testing::Not(IsEmpty()));
  EXPECT_THAT(scenario.hardware.liveResources(), IsEmpty());
}

// What fails is left out, with its message; the rest runs; the next reconcile brings it back.
TEST_P(FailingCalls, whileStartingSayWhatFailedAndAreMendedByTheNextReconcile) {
  const auto lines = startingCalls();
  ASSERT_GT(lines.size(), 60U);
  std::set<std::string> heard;
  for (std::size_t index = 0; index < lines.size(); ++index) {
    const std::string context = "call " + std::to_string(index) + ", " + lines[index];
    SCOPED_TRACE(context);
    const std::size_t part = partOf(lines, index);
    const auto message = test::promisedMessage(parts[part].kind, lines[index], statusOf(index));

    RoutedScenario scenario(GetParam().rates, GetParam().clock);
    reconcileWithFailure(scenario, index);
    EXPECT_EQ(scenario.engine->lastError, message);
    if (message) heard.insert(message->substr(0, message->find(" failed")));
    if (lines[index].ends_with("uidd of \"BrindlemuxAudio_UID_A\"")) {
      EXPECT_THAT(scenario.resources(), IsEmpty());
    } else {
      const bool isMissing = message || lines[index].ends_with("uidd of \"Microphone\"");
      EXPECT_EQ(scenario.resources(), resourcesWithout(isMissing ? part : noPart));
    }
    if (isLastRatePoll(lines, index)) {
      expectRecoveryOfResources(scenario, allResources(), context);
    } else {
      expectRecovery(scenario, allResources(), context);
    }
    if (HasFailure()) return;
  }
  // 13 steps are checked by status, 3 more by what they find, and a search for a clock where there is one.
  EXPECT_THAT(heard, SizeIs(GetParam().clock == ScenarioClock::firstOutput ? 17 : 16));
}

// The release that follows a failure may fail too: its message does not replace the first one's.
TEST_P(FailingCalls, whileReleasingAfterAFailureKeepTheFirstMessage) {
  const auto lines = startingCalls();
  int releases = 0;
  for (std::size_t index = 0; index < lines.size(); ++index) {
    const std::size_t part = partOf(lines, index);
    const auto message = test::promisedMessage(parts[part].kind, lines[index], statusOf(index));
    if (!message) continue;
    RoutedScenario probe(GetParam().rates, GetParam().clock);
    const auto calls = reconcileWithFailure(probe, index);
    const std::string release = index + 1 < calls.size() ? calls[index + 1] : std::string();
    if (!release.starts_with("d") && !release.starts_with("stop")) continue;
    ++releases;
    const std::string context = "calls " + std::to_string(index) + " and next, " + lines[index] + " and " + release;
    SCOPED_TRACE(context);

    RoutedScenario scenario(GetParam().rates, GetParam().clock);
    reconcileWithFailure(scenario, index, 2);
    EXPECT_EQ(scenario.engine->lastError, message);
    std::vector<std::string> expected = resourcesWithout(part);
    std::vector<std::string> left;
    if (release.starts_with("destroyIOProc ") && parts[part].kind == EnginePart::input) {
      left = {"proc on " + parts[part].device};
    } else if (release.starts_with("destroyAggregateDevice")) {
      // Its procedure, where there is one, has been destroyed before it.
      left = {"aggregate"};
    } else if (release.starts_with("destroyProcessTap")) {
      left = {"tap"};
    } else if (release.starts_with("disposeAudioUnit")) {
      const bool hasDevice = calls.at(index).find("CurrentDevice") == std::string::npos;
      left = {hasDevice ? "unit on " + parts[part].device : "unit on object "};
    }
    expected.insert(expected.end(), left.begin(), left.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(scenario.resources(), expected);
    std::vector<std::string> recovered = allResources();
    recovered.insert(recovered.end(), left.begin(), left.end());
    expectRecovery(scenario, recovered, context);
    if (HasFailure()) return;
  }
  EXPECT_GT(releases, 20);
}

// The calls of a reconcile that changes nothing only look; whatever they miss is stopped at most, and comes back.
TEST_P(FailingCalls, whileNothingChangesAreMendedByTheNextReconcile) {
  std::vector<std::string> lines;
  {
    RoutedScenario scenario(GetParam().rates, GetParam().clock);
    scenario.reconcile();
    const auto processes = scenario.discovery.listAudioProcesses();
    const auto devices = scenario.discovery.listAudioDevices();
    lines = callsOf(scenario, [&] { scenario.reconcile(processes, devices); });
  }
  // The virtual device, two clocks and the microphone are looked up.
  ASSERT_THAT(lines, SizeIs(4));
  for (std::size_t index = 0; index < lines.size(); ++index) {
    const std::string context = "call " + std::to_string(index) + ", " + lines[index];
    SCOPED_TRACE(context);
    RoutedScenario scenario(GetParam().rates, GetParam().clock);
    scenario.reconcile();
    reconcileWithFailure(scenario, index);
    EXPECT_EQ(scenario.engine->lastError, std::nullopt);
    if (lines[index].ends_with("uidd of \"BrindlemuxAudio_UID_A\"")) {
      EXPECT_THAT(scenario.resources(), IsEmpty());
    } else {
      EXPECT_EQ(scenario.resources(), resourcesWithout(lines[index].ends_with("uidd of \"Microphone\"") ? 0 : noPart));
    }
    expectRecovery(scenario, allResources(), context);
  }
}

/// Ways to take down what runs; each leaves a graph that starts it again.
struct TakingDown {
  const char* name;
  void (*action)(RoutedScenario&);
};

void stopAll(RoutedScenario& scenario) { scenario.engine->stopAll(); }

void disable(RoutedScenario& scenario) {
  scenario.graph.enabled = false;
  scenario.reconcile();
  scenario.graph.enabled = true;
}

void empty(RoutedScenario& scenario) {
  const DeviceGraph full = std::exchange(scenario.graph, DeviceGraph("BrindlemuxAudio_UID_A"));
  scenario.reconcile();
  scenario.graph = full;
  scenario.engine->stopAll();
}

TEST_P(FailingCalls, whileStoppingLeaveOnlyWhatTheServerRefusedToRelease) {
  for (const TakingDown& way : {TakingDown{"stopAll", stopAll}, {"disable", disable}, {"empty", empty}}) {
    std::size_t count = 0;
    {
      RoutedScenario scenario(GetParam().rates, GetParam().clock);
      scenario.reconcile();
      scenario.takeJournal();
      way.action(scenario);
      count = scenario.takeJournal().size();
    }
    // 3 calls for each of 3 outputs, 4 for each of 2 taps, 2 for each of 2 inputs.
    ASSERT_EQ(count, 21U) << way.name;
    for (std::size_t index = 0; index < count; ++index) {
      RoutedScenario scenario(GetParam().rates, GetParam().clock);
      scenario.reconcile();
      const auto before = scenario.hardware.liveResources();
      scenario.takeJournal();
      scenario.hardware.journal().failCall(static_cast<std::int64_t>(index) + 1, statusOf(index));
      way.action(scenario);
      const auto lines = scenario.takeJournal();
      ASSERT_EQ(lines.size(), count);
      const std::string refused = lines[index].substr(0, lines[index].find(" ! "));
      const std::string context = std::string(way.name) + ", call " + std::to_string(index) + ", " + lines[index];
      SCOPED_TRACE(context);
      EXPECT_EQ(scenario.engine->lastError, std::nullopt);
      std::vector<std::string> recovered = allResources();
      if (const auto left = test::leftBehind(refused, before)) {
        EXPECT_THAT(scenario.hardware.liveResources(), testing::ElementsAre(*left));
        recovered.push_back(scenario.resources().at(0));
      } else {
        EXPECT_THAT(scenario.hardware.liveResources(), IsEmpty());
      }
      expectRecovery(scenario, recovered, context);
      if (HasFailure()) return;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Rates, FailingCalls,
                         testing::Values(Variant{ScenarioRates::engine, ScenarioClock::defaultOutput},
                                         Variant{ScenarioRates::engine, ScenarioClock::firstOutput},
                                         Variant{ScenarioRates::other, ScenarioClock::defaultOutput}),
                         [](const auto& variant) {
                           const bool converts = variant.param.rates == ScenarioRates::other;
                           const bool searches = variant.param.clock == ScenarioClock::firstOutput;
                           return std::string(converts ? "converted" : "at48000") + (searches ? "firstOutput" : "");
                         });

}  // namespace
}  // namespace brindlemux
