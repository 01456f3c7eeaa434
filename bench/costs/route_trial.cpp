#include "costs/route_trial.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "costs/chirp.h"
#include "costs/processor_time.h"
#include "support/server_dump.h"
#include "support/wait_until.h"

namespace brindlemux::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int listeningSeconds = 3;
/// What a build is given before anything is measured, and a probe before it is believed.
constexpr auto settling = 1500ms;

test::PrivateServerOptions serverOptions() {
  test::PrivateServerOptions options;
  options.sinks.push_back({.name = "speakers", .channels = 2, .description = "Speakers"});
  for (const char* const name : monitors) options.sinks.push_back({.name = name, .channels = 2, .description = name});
  options.sources = {{.name = microphone, .channels = 2, .description = "Microphone"}};
  return options;
}

/// A server, two applications that play to its default output, and something that is to be heard at the microphone.
struct Ground {
  Ground() : server(serverOptions()) {
    for (const char* const name : applications) start(name, "connect");
    start("voice", "link");
    for (const std::string side : {"FL", "FR"}) {
      linkPorts("voice:output_" + side, std::string(microphone) + ":input_" + side);
    }
    if (!hasLinks(2 * players.size())) throw std::runtime_error("the applications do not play: " + server.logs());
  }

  void start(const std::string& name, const std::string& how) {
    const std::string self = std::filesystem::read_symlink("/proc/self/exe");
    players.push_back(server.launch({self, "play", name, std::to_string(players.size()), how}));
  }

  void linkPorts(const std::string& output, const std::string& input) const {
    if (!test::waitUntil([&] { return server.run({"pw-link", output, input}).status == 0; })) {
      throw std::runtime_error("cannot link " + output + " to " + input + ": " + server.run({"pw-link", "-io"}).output);
    }
  }

  bool hasLinks(std::size_t count) const {
    return test::waitUntil([&] { return test::ServerDump(server).links().size() == count; }, 30s);
  }

  double serverSeconds() const {
    double seconds = 0;
    for (const char* const name : {"pipewire", "wireplumber", "pipewire-pulse"}) {
      seconds += processorSeconds(server.processId(name));
    }
    return seconds;
  }

  test::PrivateServer server;
  std::vector<std::unique_ptr<test::ChildProcess>> players;
};

double secondsOf(const std::vector<pid_t>& processes) {
  double seconds = 0;
  for (const pid_t process : processes) seconds += processorSeconds(process);
  return seconds;
}

/// The incomplete cycles of all drivers since the server's start.
int xrunsUntilNow(const Ground& ground) {
  const Probe probe(ground.server.socket(), 0, 0);
  if (!test::waitUntil([&] { return probe.errors().profiles > 100; }))
    throw std::runtime_error("the server runs no cycle");
  return probe.errors().totalXruns();
}

void takeTime(const Ground& ground, const Build& build, int seconds, Trial& trial) {
  const auto begin = Clock::now();
  const double programBefore = secondsOf(build.processes());
  const double serverBefore = ground.serverSeconds();
  // The span that is measured, not a wait for something to happen.
  std::this_thread::sleep_until(begin + std::chrono::seconds(seconds));
  const double program = secondsOf(build.processes()) - programBefore;
  const double system = program + ground.serverSeconds() - serverBefore;
  const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
  trial.programMs = program * 1000 / elapsed;
  trial.systemMs = system * 1000 / elapsed;
}

void listen(const Ground& ground, const Build& build, const Routes& routes, Trial& trial) {
  std::vector<std::string> ports;
  for (const std::string name : applications) ports.push_back(name + ":output_FL");
  ports.push_back(std::string(microphone) + ":capture_FL");
  for (int device = 0; device < routes.devices; ++device) ports.push_back(build.capturePort(device));
  for (const std::string name : monitors) ports.push_back(name + ":monitor_FL");

  Probe probe(ground.server.socket(), ports.size(), listeningSeconds + 30);
  for (std::size_t port = 0; port < ports.size(); ++port) {
    ground.linkPorts(ports[port], "probe:input_" + std::to_string(port + 1));
  }
  const std::size_t before = probe.frames() + sampleRateHz / 4;
  const std::size_t wanted = before + static_cast<std::size_t>(listeningSeconds) * sampleRateHz;
  // Where the server cannot finish its cycles nothing arrives.
  const bool isHeard = test::waitUntil([&] { return probe.frames() >= wanted; }, 20s);
  trial.errors = probe.errors();
  trial.cycleFrames = probe.cycleFrames();
  if (!isHeard) return;

  std::vector<std::vector<float>> heard;
  for (std::size_t port = 0; port < ports.size(); ++port) {
    auto all = probe.recording(port);
    all.resize(wanted);
    heard.emplace_back(all.begin() + static_cast<std::ptrdiff_t>(before), all.end());
  }
  const std::span origins(heard.data(), chirpCount);
  const std::size_t firstMonitor = chirpCount + static_cast<std::size_t>(routes.devices);
  const std::span devices(heard.data() + chirpCount, static_cast<std::size_t>(routes.devices));
  for (std::size_t port = chirpCount; port < firstMonitor; ++port) {
    trial.toDevices.push_back(delaysOf(origins, heard[port], trial.cycleFrames));
  }
  for (std::size_t port = firstMonitor; port < ports.size(); ++port) {
    trial.toMonitors.push_back(delaysOfAlike(devices, heard[port], trial.cycleFrames));
  }
}

}  // namespace

Trial tryRoutes(Builder builder, const Routes& routes, int seconds) {
  const Display display;
  const Ground ground;
  const auto routed = build(builder, routes, ground.server, display);
  if (!ground.hasLinks(2 * ground.players.size() + routed->links())) {
    throw std::runtime_error("the routes are not complete: " + ground.server.run({"pw-link", "-l"}).output);
  }
  std::this_thread::sleep_for(settling);
  Trial trial;
  const int xrunsBefore = xrunsUntilNow(ground);
  takeTime(ground, *routed, seconds, trial);
  trial.xruns = xrunsUntilNow(ground) - xrunsBefore;
  listen(ground, *routed, routes, trial);
  return trial;
}

}  // namespace brindlemux::bench
