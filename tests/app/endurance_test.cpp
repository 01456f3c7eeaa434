// A program that runs for a week, in virtual time, while what is around it comes and goes.
#include <chrono>
#include <gtest/gtest.h>

#include "app/controller/app_state.h"
#include "app/simulated_program.h"
#include "support/live_memory.h"
#include "support/repetitions.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::hours week{24 * 7};
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::chrono::hours usual{24};  // where everything takes many times as long
#else
constexpr std::chrono::hours usual = week;
#endif
constexpr const char* weeksVariable = "BRINDLEMUX_ENDURANCE_WEEKS";

UUID node(std::uint64_t number) { return CountingUUIDSource::identifier(1'000'000 + number); }

/// A program with a device that carries an application, a microphone and all system audio to two monitors.
class LongRun {
 public:
  LongRun() {
    program_.hardware.installDriver(list_);
    program_.hardware.setDefaultOutputDevice(program_.hardware.addDevice(output("speakers", "Speakers")));
    program_.hardware.addDevice(input("mic", "Microphone"));
    plugHeadphones();
    startPlayer();
    program_.start();
    edit(uid_, [](DeviceGraph& graph) {
      const UUID app = node(0);
      const UUID mic = node(1);
      const UUID speakers = node(3);
      const UUID headphones = node(4);
      graph.sources = {{.id = app, .kind = AppSource{"org.example.Player", "Player"}},
                       {.id = mic, .kind = MicSource{"mic", "Microphone"}},
                       {.id = node(2), .kind = SystemAudioSource{}}};
      graph.wires = {{app, 0, 0}, {app, 1, 1}, {mic, 0, 0}};
      graph.monitors = {{.id = speakers, .deviceUID = "speakers", .name = "Speakers"},
                        {.id = headphones, .deviceUID = "headphones", .name = "Headphones"}};
      graph.monitorWires = {{0, speakers, 0}, {1, headphones, 1}};
    });
  }

  /// Lets that much time pass, with something that happens in every minute. Ends as it has begun.
  void run(std::chrono::hours duration) {
    const std::int64_t minutes = std::chrono::minutes(duration).count();
    for (std::int64_t minute = 1; minute <= minutes; ++minute) {
      happen(minute);
      program_.hardware.advance(512);
      program_.advance(1min);
      program_.hardware.journal().take();
      program_.hardware.takeOutput(program_.hardware.deviceWithUID("speakers"));
    }
  }

  /// What the controller and its engines have allocated. Ends them.
  LiveMemory endController() {
    program_.state->waitUntilSaved();
    const LiveMemory before = liveMemory();
    program_.state.reset();
    return before - liveMemory();
  }

  std::int64_t meterTicks() const { return meterTicks_; }
  std::int64_t passes() const { return program_.state->engineStateTick(); }
  bool isSound() const {
    return program_.state->errorMessage() == std::nullopt && program_.state->virtualDevices() == list_ &&
           AppStateProbe::engineCount(*program_.state) == list_.size();
  }
  void countMeterTicks() {
    QObject::connect(program_.state.get(), &AppState::metersChanged, &receiver_, [this] { ++meterTicks_; });
  }

 private:
  void happen(std::int64_t minute) {
    SimulatedAudioHardware& hardware = program_.hardware;
    const auto moved = [minute](DeviceGraph& graph) { graph.masterGain = static_cast<float>(minute % 100) / 100.0F; };
    switch (minute % 10) {
      case 0:
        hardware.removeDevice(hardware.deviceWithUID("headphones"));
        program_.advance(20s);
        plugHeadphones();
        break;
      case 1:
        hardware.removeProcess(player_);
        program_.advance(20s);
        startPlayer();
        break;
      case 2:
        hardware.uninstallDriver();
        program_.advance(20s);
        hardware.installDriver(list_);
        break;
      case 3:
        program_.state->setChannels(QString::fromStdString(uid_), 8);
        program_.state->setChannels(QString::fromStdString(uid_), 2);
        break;
      case 4:
        for (int announcement = 0; announcement < 10; ++announcement) {
          program_.announceDevices();
          program_.advance(20ms);
        }
        break;
      case 5:
        edit(uid_, [](DeviceGraph& graph) { graph.enabled = false; });
        program_.advance(20s);
        edit(uid_, [](DeviceGraph& graph) { graph.enabled = true; });
        break;
      case 6:
        program_.state->createVirtualDevice();
        program_.advance(20s);
        program_.state->deleteVirtualDevice(QString::fromStdString(*program_.state->selectedDeviceUID()));
        break;
      default:
        edit(uid_, moved);
    }
    // The last of a round leaves the gains where they were.
    if (minute % 10 == 9) edit(uid_, [](DeviceGraph& graph) { graph.masterGain = 1.0F; });
  }

  void edit(const std::string& uid, const std::function<void(DeviceGraph&)>& mutation) {
    program_.state->updateGraph(uid, AppState::Persist::yes, mutation);
  }
  void plugHeadphones() { program_.hardware.addDevice(output("headphones", "Headphones")); }
  void startPlayer() {
    SimulatedProcess player;
    player.pid = 100;
    player.bundleID = "org.example.Player";
    player.isPlaying = true;
    player_ = program_.hardware.addProcess(player);
    program_.applications.set(100, "Player");
  }

  const std::vector<VirtualDeviceConfig> list_{device("A")};
  const std::string uid_ = list_[0].uid;
  SimulatedProgram program_;
  AudioObjectID player_ = kAudioObjectUnknown;
  QObject receiver_;
  std::int64_t meterTicks_ = 0;
};

LiveMemory heldAfter(std::chrono::hours duration) {
  LongRun run;
  run.countMeterTicks();
  run.run(duration);
  EXPECT_TRUE(run.isSound());
  // Time goes on for a while within some minutes too.
  EXPECT_GE(run.meterTicks(), duration / AppState::meterInterval);
  EXPECT_GE(run.passes(), duration / AppState::refreshInterval);
  return run.endController();
}

TEST(Endurance, aWeekLeavesTheControllerAsSmallAsAnHour) {
  const LiveMemory hour = heldAfter(1h);
  const LiveMemory atEnd = heldAfter(isLongRun(weeksVariable) ? week * repetitions(weeksVariable, 1) : usual);
  EXPECT_GT(hour.blocks, 100) << "what is measured does not hold the controller";
  // Some five million meter ticks, three hundred thousand passes and ten thousand changes lie between the two: what
  // any of them left behind would be seen.
  EXPECT_EQ(atEnd.blocks, hour.blocks) << hour << " after an hour, " << atEnd << " at the end";
  // A block is rounded up by what happens to be free, and a list that was longer for a moment keeps its room.
  EXPECT_NEAR(static_cast<double>(atEnd.bytes), static_cast<double>(hour.bytes), 16'384.0);
}

}  // namespace
}  // namespace brindlemux::test
