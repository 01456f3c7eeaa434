// The program beside a desktop that never rests: endurance MINUTES [SEED]
//
// Four devices route an application to their inputs and to the headphones. Meanwhile graphs are edited, devices
// renamed, widened, made and deleted, outputs plugged in and out, applications started and ended, and the server
// restarted with its session manager, all in a random order. (A session manager that starts again alone leaves
// applications unlinked now and then, whoever else is there.) Every half minute the world comes to rest, and then: all
// four devices are heard again at their level, are silent once the application ends, no error is shown, the server has
// as many nodes of the program's as the graphs ask for, and the process has not grown. Prints a report; ends with 0
// when all of it held. No fault is an error that is shown while a server goes, or that an output explains that has just
// gone.
//
// The program is the whole of it but its window: controller, engines, the server's backend, the graphs file, the
// driver.
#include <QGuiApplication>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

#include "app/controller/app_state.h"
#include "app/event_loop.h"
#include "app/shell/process_setup.h"
#include "endtoend/controller_session.h"
#include "endtoend/levels.h"
#include "endtoend/routing_session.h"
#include "support/tone_analysis.h"

namespace brindlemux::test {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr float played = 0.5F;
constexpr float gain = 0.5F;
constexpr std::size_t deviceCount = 4;
/// At rest: the application's tap, the device's output, the capture of its loop, and the headphones.
constexpr std::size_t nodesADevice = 4;
const std::string badDevice = " (OSStatus " + std::to_string(kAudioHardwareBadDeviceError) + ")";

QString text(const std::string& string) { return QString::fromStdString(string); }

struct Size {
  double mebibytes = 0;
  std::ptrdiff_t files = 0;
  std::ptrdiff_t threads = 0;

  static Size now() {
    double pages = 0;
    double resident = 0;
    std::ifstream("/proc/self/statm") >> pages >> resident;
    const auto count = [](const char* folder) {
      return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
    };
    return {.mebibytes = resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576,
            .files = count("/proc/self/fd"),
            .threads = count("/proc/self/task")};
  }
};

class Endurance {
 public:
  explicit Endurance(std::uint64_t seed) : random_(seed) {
    const auto tone = sineTone(600 * second, 1000, played, rate);
    tones_ = session_.writeStereo("tones.wav", tone, tone);
    for (const char* name : {"steady", "other"}) {
      std::filesystem::copy_file(session_.programPath("pw-cat"), session_.file(name));
    }
    QObject::connect(&state_, &AppState::errorMessageChanged, &state_, [this] { takeError(); });
    QObject::connect(&state_, &AppState::processesChanged, &state_, [this] { ++passesSinceEnd_; });
  }

  int run(std::chrono::duration<double> duration) {
    while (state_.virtualDevices().size() < deviceCount) {
      const std::size_t before = state_.virtualDevices().size();
      state_.createVirtualDevice();
      if (!eventually([&] { return state_.virtualDevices().size() > before; })) return fail("no fourth device");
    }
    const auto begin = Clock::now();
    rest();
    std::printf("%8s %7s %7s %8s %7s %9s %9s\n", "time/s", "steps", "nodes", "MiB", "files", "threads", "back/s");
    for (auto next = begin; faults_ == 0 && Clock::now() - begin < duration;) {
      if (Clock::now() < next) {
        step();
        continue;
      }
      rest();
      report(begin);
      next = Clock::now() + 30s;
    }
    rest();
    report(begin);
    return summary();
  }

 private:
  void takeError() {
    const auto& message = state_.errorMessage();
    if (!message) return;
    if (!isCalm_) return note("error while the server went: " + *message);
    // An edit goes by lists that are up to two seconds old. An output that has gone since is refused, and a later pass,
    // with lists of its own, tells of the refusal.
    if (message->ends_with(badDevice) && passesSinceEnd_ <= 3) {
      ++refusals_;
      return;
    }
    note("ERROR: " + *message);
    ++faults_;
  }

  void end(std::unique_ptr<ChildProcess>& process) {
    if (!process) return;
    process.reset();
    passesSinceEnd_ = 0;
  }

  int fail(const std::string& what) {
    note("FAULT: " + what);
    return ++faults_;
  }
  static void note(const std::string& line) { std::printf("         %s\n", line.c_str()), std::fflush(stdout); }
  std::size_t below(std::size_t bound) { return static_cast<std::size_t>(random_() % bound); }
  void wait(std::chrono::milliseconds time) {
    eventually([] { return false; }, time);
  }
  std::string anyUID() {
    const auto& devices = state_.virtualDevices();
    return devices.empty() ? "" : devices[below(devices.size())].uid;
  }

  /// The graph that every device rests in.
  void setGraph(const std::string& uid) {
    state_.updateGraph(uid, AppState::Persist::yes, [&](DeviceGraph& graph) {
      graph = DeviceGraph(uid);
      graph.latencyFrames = 2048;
      graph.masterGain = gain;
      const UUID source = program_.uuids.next();
      graph.sources = {{.id = source, .kind = AppSource{"steady", "Steady"}}};
      graph.wires = {{source, 0, 0}, {source, 1, 1}};
      const UUID monitor = program_.uuids.next();
      graph.monitors = {{.id = monitor, .deviceUID = "headphones", .name = "Headphones"}};
      graph.monitorWires = {{0, monitor, 0}, {1, monitor, 1}};
    });
  }

  void step() {
    ++steps_;
    const std::size_t kind = below(100);
    if (kind < 60) {
      edit();
    } else if (kind < 72) {
      toggle(other_, {session_.file("other").string(), "--playback", tones_.string()});
    } else if (kind < 84) {
      toggle(plugged_, {"pw-loopback", "-C", "0", "-P", "0",
                        "--capture-props=media.class=Audio/Sink node.name=plugged session.suspend-timeout-seconds=0",
                        "--playback-props=node.name=plugged.out"});
    } else if (kind < 90) {
      state_.renameVirtualDevice(text(anyUID()), text("Device " + std::to_string(steps_)));
    } else if (kind < 94) {
      state_.setChannels(text(anyUID()), static_cast<int>(2 + 2 * below(4)));
    } else if (kind < 97) {
      if (state_.virtualDevices().size() > deviceCount) {
        state_.deleteVirtualDevice(text(state_.virtualDevices().back().uid));
      } else {
        state_.createVirtualDevice();
      }
    } else if (kind == 97 && Clock::now() - lastRestart_ > 60s) {
      restart();
    }
    wait(std::chrono::milliseconds(10 + below(150)));
  }

  void edit() {
    const std::string uid = anyUID();
    if (uid.empty()) return;
    state_.updateGraph(uid, below(2) == 0 ? AppState::Persist::yes : AppState::Persist::no, [&](DeviceGraph& graph) {
      switch (below(8)) {
        case 0:
          graph.enabled = below(4) != 0;
          break;
        case 1:
          graph.masterGain = static_cast<float>(below(200)) / 100;
          break;
        case 2:
          graph.latencyFrames = static_cast<std::int64_t>(std::size_t{64} << below(6));
          break;
        case 3:
          if (graph.sources.size() < 6) {
            const std::vector<SourceKindConfig> kinds = {AppSource{"other", "Other"}, MicSource{"mic", "Microphone"},
                                                         SystemAudioSource{}};
            graph.sources.push_back({.id = program_.uuids.next(), .kind = kinds[below(3)]});
            graph.wires.push_back({graph.sources.back().id, 0, static_cast<std::int64_t>(below(4))});
          }
          break;
        case 4:
          if (!graph.sources.empty()) graph.sources.erase(graph.sources.begin());
          break;
        case 5:
          if (graph.monitors.size() < 4) {
            const char* const outputs[] = {"speakers", "headphones", "plugged"};
            graph.monitors.push_back({.id = program_.uuids.next(), .deviceUID = outputs[below(3)], .name = "Monitor"});
            graph.monitorWires.push_back({0, graph.monitors.back().id, 0});
          }
          break;
        case 6:
          if (!graph.monitors.empty()) graph.monitors.pop_back();
          break;
        default:
          if (!graph.wires.empty()) graph.wires.pop_back();
      }
    });
  }

  void toggle(std::unique_ptr<ChildProcess>& process, std::vector<std::string> command) {
    if (process && process->running()) {
      end(process);
    } else {
      process = session_.server().launch(std::move(command));
    }
  }

  void restart() {
    isCalm_ = false;
    lastRestart_ = Clock::now();
    note("server restarted");
    ++serverRestarts_;
    session_.server().stop();
    wait(std::chrono::milliseconds(below(2000)));
    session_.server().start();
    eventually([&] { return state_.virtualDevices().size() >= deviceCount && state_.driverInstalled(); }, 30s);
    wait(2500ms);
    isCalm_ = true;
  }

  bool hasPeak(const std::string& uid, float expected) {
    const auto snapshot = state_.meters().find(uid);
    if (snapshot == state_.meters().end() || snapshot->second.outputPeaks.size() < 2) return false;
    return std::abs(snapshot->second.outputPeaks[0] - expected) < 0.01F &&
           std::abs(snapshot->second.outputPeaks[1] - expected) < 0.01F;
  }
  bool all(float expected) {
    return std::ranges::all_of(state_.virtualDevices(),
                               [&](const VirtualDeviceConfig& device) { return hasPeak(device.uid, expected); });
  }
  std::string peaks() {
    std::string list;
    for (const auto& [uid, snapshot] : state_.meters()) {
      for (const float peak : snapshot.outputPeaks) list += " " + std::to_string(peak);
      list += ";";
    }
    return list;
  }

  void rest() {
    end(other_);
    end(plugged_);
    for (int i = 0; state_.virtualDevices().size() > deviceCount && i < 10; ++i) {
      state_.deleteVirtualDevice(text(state_.virtualDevices().back().uid));
      wait(100ms);
    }
    for (const VirtualDeviceConfig& device : std::vector(state_.virtualDevices())) setGraph(device.uid);
    const auto begin = Clock::now();
    const bool isBack = eventually(
        [&] {
          if (!steady_ || !steady_->running()) {
            steady_ = session_.launchUrgently({session_.file("steady").string(), "--playback", tones_.string()});
          }
          return all(played * gain);
        },
        40s);
    back_ = Clock::now() - begin;
    if (!isBack) fail("not every device is heard again:" + peaks());
    if (!eventually([&] { return (nodes_ = session_.programNodes().size()) == deviceCount * nodesADevice; })) {
      fail("the program has " + std::to_string(nodes_) + " nodes");
    }
    end(steady_);
    if (!eventually([&] { return all(0); })) fail("sound that nobody plays:" + peaks());
    if (state_.virtualDevices().size() != deviceCount) fail("a device is missing");
    sizes_.push_back(Size::now());
  }

  void report(Clock::time_point begin) {
    const std::chrono::duration<double> time = Clock::now() - begin;
    const Size& size = sizes_.back();
    std::printf("%8.0f %7zu %7zu %8.1f %7td %9td %9.2f\n", time.count(), steps_, nodes_, size.mebibytes, size.files,
                size.threads, back_.count());
    std::fflush(stdout);
  }

  /// The middle of what a third of the rests have seen; the first third is 0.
  template <typename Value>
  double middleOfThird(std::size_t third, Value Size::*value) const {
    const auto begin = sizes_.begin() + static_cast<std::ptrdiff_t>(sizes_.size() * third / 3);
    const auto end = sizes_.begin() + static_cast<std::ptrdiff_t>(sizes_.size() * (third + 1) / 3);
    std::vector<double> values;
    std::transform(begin, end, std::back_inserter(values),
                   [&](const Size& size) { return static_cast<double>(size.*value); });
    if (values.empty()) return 0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  }

  template <typename Value>
  void expectNoGrowth(const char* what, Value Size::*value, double allowance) {
    // At each rest the program holds a little more or less, by what it has just done: two rests tell nothing.
    const double early = middleOfThird(0, value);
    const double late = middleOfThird(2, value);
    std::printf("%s: %.1f in the first third of the time, %.1f in the last\n", what, early, late);
    if (late > early * 1.1 + allowance) fail(std::string(what) + " have grown");
  }

  int summary() {
    expectNoGrowth("MiB", &Size::mebibytes, 4);
    expectNoGrowth("files", &Size::files, 4);
    expectNoGrowth("threads", &Size::threads, 0);
    std::printf("%zu steps, %d restarts of the server, %d edits of what had just gone\n", steps_, serverRestarts_,
                refusals_);
    std::printf("%d faults\n", faults_);
    if (faults_ > 0) std::printf("%s\n", session_.report().c_str());
    return faults_ == 0 ? 0 : 1;
  }

  std::mt19937_64 random_;
  RoutingSession session_{2, "{}", RoutingSession::Program::absent};
  ControllerSession program_{session_};
  AppState& state_ = program_.state;
  std::filesystem::path tones_;
  std::unique_ptr<ChildProcess> steady_;
  std::unique_ptr<ChildProcess> other_;
  std::unique_ptr<ChildProcess> plugged_;
  int passesSinceEnd_ = 0;
  bool isCalm_ = true;
  int faults_ = 0;
  int serverRestarts_ = 0;
  int refusals_ = 0;
  std::size_t steps_ = 0;
  std::size_t nodes_ = 0;
  Clock::time_point lastRestart_ = Clock::now();
  std::chrono::duration<double> back_{};
  std::vector<Size> sizes_;
};

}  // namespace
}  // namespace brindlemux::test

int main(int argc, char** argv) {
  const double minutes = argc > 1 ? std::atof(argv[1]) : 30;
  if (!(minutes > 0)) return std::fprintf(stderr, "usage: endurance MINUTES [SEED]\n"), 2;
  brindlemux::allowManyFiles();
  brindlemux::returnLargeBlocks();
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QGuiApplication application(argc, argv);
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : std::random_device()();
  std::printf("seed %llu\n", static_cast<unsigned long long>(seed));
  try {
    return brindlemux::test::Endurance(seed).run(std::chrono::duration<double>(minutes * 60));
  } catch (const std::exception& error) {
    return std::fprintf(stderr, "endurance: %s\n", error.what()), 1;
  }
}
