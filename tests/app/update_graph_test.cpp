#include <atomic>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

#include "app/controller/app_state.h"
#include "app/replacement_count.h"
#include "app/signal_log.h"
#include "app/simulated_program.h"
#include "support/graph_equality.h"

namespace brindlemux {
namespace {

using namespace std::chrono_literals;
using test::device;
using test::input;
using test::output;
using test::SignalLog;
using test::SimulatedProgram;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Ge;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;
using Persist = AppState::Persist;

const std::string uidA = device("A").uid;
const std::string uidB = device("B").uid;

UUID node(std::uint64_t number) { return CountingUUIDSource::identifier(1000 + number); }
const UUID app = node(1);
const UUID mic = node(2);
const UUID speakers = node(3);
const UUID headphones = node(4);

/// A program with a device whose graph uses everything: an application, a microphone, two monitors, all wired, and a
/// second device that nothing is routed to.
struct RoutedProgram : SimulatedProgram {
  RoutedProgram() {
    hardware.installDriver({device("A", 4), device("B")});
    hardware.addDevice(output("speakers", "Speakers"));
    hardware.addDevice(output("headphones", "Headphones"));
    hardware.addDevice(input("mic", "Microphone"));
    SimulatedProcess player;
    player.pid = 77;
    player.bundleID = "org.example.Player";
    player.isPlaying = true;
    hardware.addProcess(player);
    applications.set(77, "Player");
    start();
    state->updateGraph(uidA, Persist::yes, [](DeviceGraph& graph) {
      graph.sources = {{.id = app, .kind = AppSource{"org.example.Player", "Player"}},
                       {.id = mic, .kind = MicSource{"mic", "Microphone"}}};
      graph.monitors = {{.id = speakers, .deviceUID = "speakers", .name = "Speakers"},
                        {.id = headphones, .deviceUID = "headphones", .name = "Headphones"}};
      graph.wires = {{app, 0, 0}, {app, 1, 1}, {mic, 0, 2}, {mic, 1, 3}};
      graph.monitorWires = {{0, speakers, 0}, {1, speakers, 1}, {2, headphones, 0}};
      graph.outputGains = {1.0F, 1.0F};
    });
    waitUntilSaved();
    running = hardware.liveResources();
    hardware.journal().take();
    signals.emplace(*state);
  }

  /// Edits the device's graph; the calls that reached the server meanwhile.
  std::vector<std::string> edit(const std::function<void(DeviceGraph&)>& mutation) {
    hardware.journal().take();
    state->updateGraph(uidA, Persist::yes, mutation);
    return hardware.journal().take();
  }
  const DeviceGraph& graphA() const { return state->graphs().at(uidA); }
  /// The graph that the device's engine works by.
  DeviceGraph engineGraphA() const {
    const DeviceEngine* engine = AppStateProbe::engine(*state, uidA);
    return engine != nullptr ? engine->graph() : DeviceGraph("no engine");
  }

  std::vector<std::string> running;
  std::optional<SignalLog> signals;
};

const auto nothing = [](DeviceGraph&) {};

// What goes where.

TEST(UpdateGraph, changesPublishesSavesAndCounts) {
  RoutedProgram program;
  const auto tick = program.state->engineStateTick();
  program.state->updateGraph(uidA, Persist::yes, [](DeviceGraph& graph) { graph.masterGain = 0.25F; });
  EXPECT_EQ(program.graphA().masterGain, 0.25F);
  EXPECT_EQ(program.savedGraphs(), program.state->graphs());
  EXPECT_EQ(program.engineGraphA(), program.graphA());
  EXPECT_EQ(program.state->engineStateTick(), tick + 1);
  EXPECT_THAT(program.signals->take(), ElementsAre("graphs", "engineStateTick"));
}

TEST(UpdateGraph, mutationSeesTheDevicesGraph) {
  RoutedProgram program;
  const DeviceGraph before = program.graphA();
  DeviceGraph seen;
  program.state->updateGraph(uidA, Persist::yes, [&seen](DeviceGraph& graph) { seen = graph; });
  EXPECT_EQ(seen, before);
  EXPECT_EQ(program.graphA(), before);
}

TEST(UpdateGraph, otherGraphsStay) {
  RoutedProgram program;
  const DeviceGraph before = program.state->graphs().at(uidB);
  program.edit([](DeviceGraph& graph) { graph.enabled = false; });
  EXPECT_EQ(program.state->graphs().at(uidB), before);
}

TEST(UpdateGraph, unpersistedEditSkipsTheFileAlone) {
  RoutedProgram program;
  const std::string file = program.graphsFile();
  const auto tick = program.state->engineStateTick();
  program.state->updateGraph(uidA, Persist::no, [](DeviceGraph& graph) { graph.masterGain = 0.25F; });
  EXPECT_EQ(program.graphsFile(), file);
  EXPECT_EQ(program.graphA().masterGain, 0.25F);
  EXPECT_EQ(program.engineGraphA().masterGain, 0.25F);
  EXPECT_EQ(program.state->engineStateTick(), tick + 1);
  // The next save takes it along.
  program.state->updateGraph(uidB, Persist::yes, nothing);
  EXPECT_EQ(program.savedGraphs().at(uidA).masterGain, 0.25F);
}

TEST(UpdateGraph, savesOnEveryCallAfterPublishingAndBeforeTheEngine) {
  RoutedProgram program;
  std::vector<float> inFile;
  QObject receiver;
  const auto note = [&] { inFile.push_back(program.savedGraphs().at(uidA).masterGain); };
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, note);
  QObject::connect(program.state.get(), &AppState::engineStateTickChanged, &receiver, note);
  for (const float gain : {0.75F, 0.5F, 0.25F}) {
    program.edit([gain](DeviceGraph& graph) { graph.masterGain = gain; });
  }
  EXPECT_THAT(inFile, ElementsAre(1.0F, 0.75F, 0.75F, 0.5F, 0.5F, 0.25F));
}

TEST(UpdateGraph, unchangedGraphIsSavedToo) {
  RoutedProgram program;
  std::filesystem::remove(program.graphStore.fileURL());
  EXPECT_THAT(program.edit(nothing), IsEmpty());
  EXPECT_EQ(program.savedGraphs(), program.state->graphs());
}

TEST(UpdateGraph, failedSaveIsNoErrorOfTheEdit) {
  RoutedProgram program;
  std::filesystem::remove(program.graphStore.fileURL());
  std::filesystem::create_directories(program.graphStore.fileURL());
  program.edit([](DeviceGraph& graph) { graph.masterGain = 0.25F; });
  EXPECT_EQ(program.graphA().masterGain, 0.25F);
  EXPECT_EQ(program.engineGraphA().masterGain, 0.25F);
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
}

// Which edits restart what runs.

struct Edit {
  const char* name;
  void (*mutation)(DeviceGraph&);

  friend void PrintTo(const Edit& edit, std::ostream* stream) { *stream << edit.name; }
};
const auto nameOf = [](const auto& test) { return std::string(test.param.name); };

class QuietEdit : public testing::TestWithParam<Edit> {};

TEST_P(QuietEdit, neitherStopsNorMakesAnything) {
  RoutedProgram program;
  const DeviceEngine* engine = AppStateProbe::engine(*program.state, uidA);
  EXPECT_THAT(program.edit(GetParam().mutation), IsEmpty());
  EXPECT_EQ(program.hardware.liveResources(), program.running);
  EXPECT_EQ(AppStateProbe::engine(*program.state, uidA), engine);
  EXPECT_EQ(program.engineGraphA(), program.graphA());
}

INSTANTIATE_TEST_SUITE_P(
    Edits, QuietEdit,
    testing::Values(Edit{"nothing", [](DeviceGraph&) {}},
                    Edit{"masterGain", [](DeviceGraph& graph) { graph.masterGain = 0.5F; }},
                    Edit{"outputGains",
                         [](DeviceGraph& graph) {
                           graph.outputGains = {0.1F, 0.2F, 0.3F, 0.4F};
                         }},
                    Edit{"sourceGain", [](DeviceGraph& graph) { graph.sources[0].gain = 0.5F; }},
                    Edit{"channelGains", [](DeviceGraph& graph) { graph.sources[1].channelGains = {0.5F}; }},
                    Edit{"sourceSwitch", [](DeviceGraph& graph) { graph.sources[0].enabled = false; }},
                    Edit{"sourceName",
                         [](DeviceGraph& graph) {
                           graph.sources[1].kind = MicSource{"mic", "Voice"};
                         }},
                    Edit{"monitorGain", [](DeviceGraph& graph) { graph.monitors[0].gain = 0.5F; }},
                    Edit{"monitorName", [](DeviceGraph& graph) { graph.monitors[1].name = "Cans"; }},
                    Edit{"addedWire",
                         [](DeviceGraph& graph) {
                           graph.wires.push_back({app, 0, 3});
                         }},
                    Edit{"removedWire", [](DeviceGraph& graph) { graph.wires.erase(graph.wires.begin()); }},
                    Edit{"reorderedWires", [](DeviceGraph& graph) { std::ranges::reverse(graph.wires); }},
                    Edit{"noMonitorWires", [](DeviceGraph& graph) { graph.monitorWires.clear(); }},
                    Edit{"addedMonitorWire",
                         [](DeviceGraph& graph) {
                           graph.monitorWires.push_back({3, speakers, 0});
                         }},
                    Edit{"sameLatency", [](DeviceGraph& graph) { graph.latencyFrames = 256; }},
                    Edit{"sameSwitch", [](DeviceGraph& graph) { graph.enabled = true; }},
                    Edit{"deviceUIDOfTheRecord", [](DeviceGraph& graph) { graph.deviceUID = "other"; }}),
    nameOf);

class StructuralEdit : public testing::TestWithParam<Edit> {};

TEST_P(StructuralEdit, stopsEverythingBeforeAnythingStarts) {
  RoutedProgram program;
  const DeviceEngine* engine = AppStateProbe::engine(*program.state, uidA);
  const std::vector<std::string> calls = program.edit(GetParam().mutation);
  const auto isStop = [](const std::string& line) { return line.starts_with("stop"); };
  const auto isStart = [](const std::string& line) { return line.starts_with("start"); };
  // The two monitors, the device's output and the capture of its own input, a tap and a microphone.
  EXPECT_EQ(std::ranges::count_if(calls, isStop), 6);
  EXPECT_LE(std::find_if(calls.rbegin(), calls.rend(), isStop).base(), std::ranges::find_if(calls, isStart));
  // The object stays, and nothing of before does.
  EXPECT_EQ(AppStateProbe::engine(*program.state, uidA), engine);
  EXPECT_EQ(program.engineGraphA(), program.graphA());
  for (const std::string& line : program.running) {
    if (line.find(uidB) != std::string::npos) continue;
    EXPECT_THAT(program.hardware.liveResources(), Not(Contains(line)));
  }
  // The other device is not touched.
  EXPECT_THAT(calls, Not(Contains(HasSubstr(uidB))));
}

INSTANTIATE_TEST_SUITE_P(
    Edits, StructuralEdit,
    testing::Values(
        Edit{"addedSource",
             [](DeviceGraph& graph) { graph.sources.push_back({.id = node(9), .kind = SystemAudioSource{}}); }},
        Edit{"removedSource", [](DeviceGraph& graph) { graph.sources.pop_back(); }},
        Edit{"swappedSources", [](DeviceGraph& graph) { std::swap(graph.sources[0], graph.sources[1]); }},
        Edit{"otherSourceID", [](DeviceGraph& graph) { graph.sources[0].id = node(9); }},
        Edit{"addedMonitor",
             [](DeviceGraph& graph) {
               graph.monitors.push_back({.id = node(9), .deviceUID = "speakers", .name = "Twice"});
             }},
        Edit{"removedMonitor", [](DeviceGraph& graph) { graph.monitors.pop_back(); }},
        Edit{"swappedMonitors", [](DeviceGraph& graph) { std::swap(graph.monitors[0], graph.monitors[1]); }},
        Edit{"otherMonitorDevice", [](DeviceGraph& graph) { graph.monitors[0].deviceUID = "headphones"; }},
        Edit{"otherMonitorID", [](DeviceGraph& graph) { graph.monitors[0].id = node(9); }},
        Edit{"switchedOff", [](DeviceGraph& graph) { graph.enabled = false; }},
        Edit{"otherLatency", [](DeviceGraph& graph) { graph.latencyFrames = 512; }}),
    nameOf);

TEST(UpdateGraph, switchingOffLeavesNothingRunningOfTheDevice) {
  RoutedProgram program;
  program.edit([](DeviceGraph& graph) { graph.enabled = false; });
  EXPECT_THAT(program.hardware.liveResources(), ElementsAre(HasSubstr(uidB)));
  EXPECT_FALSE(program.engineGraphA().enabled);
  // And on again.
  program.edit([](DeviceGraph& graph) { graph.enabled = true; });
  EXPECT_THAT(program.hardware.liveResources(), SizeIs(program.running.size()));
}

TEST(UpdateGraph, latencyReachesEveryBuffer) {
  RoutedProgram program;
  const std::vector<std::string> calls = program.edit([](DeviceGraph& graph) { graph.latencyFrames = 64; });
  // A microphone, a tap, the device twice, two monitors.
  EXPECT_THAT(calls, Contains(HasSubstr("fsiz = 64")).Times(6));
}

TEST(UpdateGraph, switchingAMonitorStopsThatOneAlone) {
  RoutedProgram program;
  const std::vector<std::string> calls = program.edit([](DeviceGraph& graph) { graph.monitors[1].enabled = false; });
  EXPECT_THAT(calls, ElementsAre("stopOutputUnit unit3", "uninitializeAudioUnit unit3", "disposeAudioUnit unit3"));
}

TEST(UpdateGraph, lastWireTakesTheDevicesOutputWithItAndNothingElse) {
  RoutedProgram program;
  const std::vector<std::string> calls = program.edit([](DeviceGraph& graph) { graph.wires.clear(); });
  EXPECT_THAT(calls, ElementsAre("stopOutputUnit unit1", "uninitializeAudioUnit unit1", "disposeAudioUnit unit1"));
}

TEST(UpdateGraph, reconcilesWithTheListsThatItHas) {
  RoutedProgram program;
  program.hardware.journal().keepReads({kAudioHardwarePropertyProcessObjectList, kAudioHardwarePropertyDevices});
  EXPECT_THAT(program.edit([](DeviceGraph& graph) { graph.masterGain = 0.5F; }), IsEmpty());
  EXPECT_THAT(program.signals->take(), ElementsAre("graphs", "engineStateTick"));
}

// Devices that are not there.

TEST(UpdateGraph, deviceWithoutGraphStartsFromTheDefaultOne) {
  RoutedProgram program;
  const std::string uid = device("New").uid;
  DeviceGraph seen;
  program.state->updateGraph(uid, Persist::yes, [&seen](DeviceGraph& graph) {
    seen = graph;
    graph.masterGain = 0.5F;
  });
  EXPECT_EQ(seen, DeviceGraph(uid));
  DeviceGraph expected(uid);
  expected.masterGain = 0.5F;
  EXPECT_EQ(program.savedGraphs().at(uid), expected);
}

TEST(UpdateGraph, editOfADeviceWithoutGraphIsStructural) {
  RoutedProgram program;
  // A device's graph goes while its engine stays only when another program takes it from the list: take it by hand.
  AppStateProbe::forgetGraph(*program.state, uidB);
  program.hardware.journal().take();
  program.state->updateGraph(uidB, Persist::yes, nothing);
  const auto calls = program.hardware.journal().take();
  EXPECT_THAT(calls, Contains(HasSubstr("stopDevice " + uidB)));
  EXPECT_THAT(calls, Contains(HasSubstr("startDevice " + uidB)));
}

TEST(UpdateGraph, deviceThatTheDriverDoesNotListTouchesNoEngine) {
  RoutedProgram program;
  program.publish({device("B")});
  program.state->reload();
  program.signals->take();
  const auto tick = program.state->engineStateTick();
  const auto calls = program.edit([](DeviceGraph& graph) { graph.enabled = false; });
  EXPECT_THAT(calls, IsEmpty());
  EXPECT_FALSE(program.savedGraphs().at(uidA).enabled);
  EXPECT_EQ(program.state->engineStateTick(), tick + 1);
  EXPECT_THAT(program.signals->take(), ElementsAre("graphs", "engineStateTick"));
}

TEST(UpdateGraph, engineThatRunsOnWithoutDriverStopsForAStructuralEditAndIsNotReconciled) {
  RoutedProgram program;
  program.hardware.setAnswer(kAudioObjectSystemObject, {kAudioHardwarePropertyTranslateBundleIDToPlugIn},
                             test::unreadable());
  program.advance(2s);
  ASSERT_FALSE(program.state->driverInstalled());
  const DeviceGraph before = program.engineGraphA();
  EXPECT_THAT(program.edit([](DeviceGraph& graph) { graph.masterGain = 0.5F; }), IsEmpty());
  EXPECT_EQ(program.engineGraphA(), before);
  const auto calls = program.edit([](DeviceGraph& graph) { graph.enabled = false; });
  EXPECT_THAT(calls, Contains(HasSubstr("stop")).Times(6));
  EXPECT_EQ(program.engineGraphA(), before);
}

TEST(UpdateGraph, deviceThatComesBackHasItsRouting) {
  RoutedProgram program;
  const DeviceGraph before = program.graphA();
  program.publish({device("B")});
  program.state->reload();
  EXPECT_EQ(program.graphA(), before);
  program.publish({device("A", 4), device("B")});
  program.state->reload();
  EXPECT_EQ(program.graphA(), before);
  EXPECT_THAT(program.hardware.liveResources(), SizeIs(program.running.size()));
}

TEST(UpdateGraph, missingEngineIsMadeAtTheNextRefresh) {
  RoutedProgram program;
  AppStateProbe::forgetEngine(*program.state, uidA);
  EXPECT_THAT(program.edit([](DeviceGraph& graph) { graph.latencyFrames = 64; }), IsEmpty());
  EXPECT_EQ(AppStateProbe::engine(*program.state, uidA), nullptr);
  program.advance(2s);
  ASSERT_NE(AppStateProbe::engine(*program.state, uidA), nullptr);
  EXPECT_EQ(program.engineGraphA().latencyFrames, 64);
}

TEST(UpdateGraph, afterShutdownTheGraphIsSavedAndNothingStarts) {
  RoutedProgram program;
  program.state->shutdown();
  EXPECT_THAT(program.edit([](DeviceGraph& graph) { graph.latencyFrames = 64; }), IsEmpty());
  EXPECT_EQ(program.savedGraphs().at(uidA).latencyFrames, 64);
}

// Errors, and observers that act.

TEST(UpdateGraph, engineErrorsAreShownAtTheNextPass) {
  RoutedProgram program;
  program.hardware.journal().failNext("createIOProc mic", -1);
  program.edit([](DeviceGraph& graph) { graph.latencyFrames = 64; });
  EXPECT_EQ(program.state->errorMessage(), std::nullopt);
  program.advance(2s);
  EXPECT_EQ(program.state->errorMessage(), "Creating input IOProc failed (OSStatus -1)");
}

TEST(UpdateGraph, observerMayShutDown) {
  RoutedProgram program;
  QObject receiver;
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, [&] { program.state->shutdown(); });
  program.edit([](DeviceGraph& graph) { graph.masterGain = 0.5F; });
  EXPECT_THAT(program.hardware.liveResources(), IsEmpty());
  EXPECT_EQ(program.savedGraphs().at(uidA).masterGain, 0.5F);
}

TEST(UpdateGraph, identifierMayBePartOfTheListThatGoes) {
  RoutedProgram program;
  QObject receiver;
  QObject::connect(program.state.get(), &AppState::graphsChanged, &receiver, [&] {
    program.publish({});
    program.state->reload();
  });
  program.state->updateGraph(program.state->virtualDevices()[0].uid, Persist::yes,
                             [](DeviceGraph& graph) { graph.masterGain = 0.5F; });
  EXPECT_THAT(program.state->virtualDevices(), IsEmpty());
  EXPECT_EQ(program.savedGraphs().at(uidA).masterGain, 0.5F);
}

TEST(UpdateGraph, thousandStepsOfAGainSaveAThousandTimesAndRestartNothing) {
  RoutedProgram program;
  program.waitUntilSaved();
  const test::ReplacementCount count(program.graphStore.fileURL());
  for (int step = 1; step <= 1000; ++step) {
    program.state->updateGraph(
        uidA, Persist::yes, [step](DeviceGraph& graph) { graph.sources[0].gain = static_cast<float>(step) / 1000.0F; });
  }
  EXPECT_EQ(program.savedGraphs().at(uidA).sources[0].gain, 1.0F);
  EXPECT_EQ(count.untilNow(), 1000);
  EXPECT_THAT(program.hardware.journal().take(), IsEmpty());
  EXPECT_EQ(program.hardware.liveResources(), program.running);
}

TEST(UpdateGraph, shutdownWaitsForTheLastSave) {
  RoutedProgram program;
  for (int step = 1; step <= 100; ++step) {
    program.edit([step](DeviceGraph& graph) { graph.masterGain = static_cast<float>(step); });
  }
  program.state->shutdown();
  EXPECT_EQ(program.graphStore.load().at(uidA).masterGain, 100.0F);
}

TEST(UpdateGraph, destructionWaitsForTheLastSaveToo) {
  RoutedProgram program;
  for (int step = 1; step <= 100; ++step) {
    program.edit([step](DeviceGraph& graph) { graph.masterGain = static_cast<float>(step); });
  }
  program.signals.reset();
  program.state.reset();
  EXPECT_EQ(program.graphStore.load().at(uidA).masterGain, 100.0F);
}

TEST(UpdateGraph, fileIsWholeAtEveryMoment) {
  RoutedProgram program;
  program.waitUntilSaved();
  std::atomic<bool> ended = false;
  std::vector<float> seen;
  std::thread reader([&] {
    while (!ended) {
      const DeviceGraphs graphs = GraphStore(program.locations, program.clock, program.log).load();
      seen.push_back(graphs.contains(uidA) ? graphs.at(uidA).masterGain : -1.0F);
    }
  });
  for (int step = 2; step <= 300; ++step) {
    program.edit([step](DeviceGraph& graph) { graph.masterGain = static_cast<float>(step); });
  }
  program.waitUntilSaved();
  ended = true;
  reader.join();
  // One of the maps that were saved, never an older one after a newer one.
  EXPECT_THAT(seen, Each(Ge(1.0F)));
  EXPECT_TRUE(std::ranges::is_sorted(seen));
}

}  // namespace
}  // namespace brindlemux
