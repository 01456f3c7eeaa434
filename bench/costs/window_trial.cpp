#include "costs/window_trial.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <thread>

#include "costs/chirp.h"
#include "costs/processor_time.h"
#include "editor/crowded_graph.h"
#include "support/server_dump.h"
#include "support/wait_until.h"

namespace brindlemux::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int players = 4;
constexpr const char* deviceUID = "BrindlemuxAudio_UID_00000000-0000-4000-8000-000000000001";

std::string playerName(std::size_t number) { return "app-" + std::to_string(number); }

DeviceGraph sounding() {
  DeviceGraph graph = test::crowdedGraph();
  graph.deviceUID = deviceUID;
  graph.latencyFrames = 512;
  // More sources than applications: a source is the same work whoever else hears the application.
  for (std::size_t i = 0; i < graph.sources.size(); ++i) {
    graph.sources[i].kind = AppSource{"bench." + playerName(i % players), "Application " + std::to_string(i + 1)};
  }
  return graph;
}

test::PrivateServerOptions serverOptions() {
  test::PrivateServerOptions options;
  options.sinks = {{.name = "speakers", .channels = 2, .description = "Speakers"}};
  return options;
}

/// Frames that the program has drawn, by what its toolkit says of each.
std::size_t framesOf(const Program& program) {
  const std::string said = program.said();
  std::size_t frames = 0;
  for (std::size_t at = said.find("Frame rendered"); at != std::string::npos;
       at = said.find("Frame rendered", at + 1)) {
    ++frames;
  }
  return frames;
}

void measure(const char* state, const Program& program, int seconds) {
  std::this_thread::sleep_for(2s);
  const std::size_t framesBefore = framesOf(program);
  const double mainBefore = mainThreadSeconds(program.pid());
  const double before = processorSeconds(program.pid());
  const auto begin = Clock::now();
  // The span that is measured, not a wait for something to happen.
  std::this_thread::sleep_until(begin + std::chrono::seconds(seconds));
  const double used = processorSeconds(program.pid()) - before;
  const double main = mainThreadSeconds(program.pid()) - mainBefore;
  const double elapsed = std::chrono::duration<double>(Clock::now() - begin).count();
  const auto frames = static_cast<double>(framesOf(program) - framesBefore);
  std::printf("%-18s %8.1f %% %8.1f %% %10.1f\n", state, used / elapsed * 100, main / elapsed * 100, frames / elapsed);
  std::fflush(stdout);
}

}  // namespace

void tryWindow(const Display& display, int seconds) {
  const test::PrivateServer server(serverOptions());
  std::vector<std::unique_ptr<test::ChildProcess>> applications;
  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  for (std::size_t i = 0; i < players; ++i) {
    applications.push_back(server.launch({self, "play", playerName(i), std::to_string(i % chirpCount), "connect"}));
  }
  const Program program(server, display, {{deviceUID, sounding()}}, test::crowdedChannels,
                        {{"QT_LOGGING_RULES", "qt.scenegraph.time.renderloop.debug=true"}});
  // Each player to the speakers; the sources; the device's output, loop and input; the monitors.
  const std::size_t links = 2 * players + 2 * 24 + 3 * 16 + 2 * 8;
  if (!test::waitUntil([&] { return test::ServerDump(server).links().size() == links; }, 30s)) {
    throw std::runtime_error("the routes are not complete: " + server.run({"pw-link", "-l"}).output);
  }
  std::printf("%-18s %10s %10s %10s\n", "window", "program", "its window", "frames/s");
  measure("open, audible", program, seconds);
  for (const auto& application : applications) application->signal(SIGUSR1);
  measure("open, silent", program, seconds);
  program.hideWindow();
  measure("hidden, silent", program, seconds);
  for (const auto& application : applications) application->signal(SIGUSR1);
  measure("hidden, audible", program, seconds);
}

}  // namespace brindlemux::bench
