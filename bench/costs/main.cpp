#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "costs/player.h"
#include "costs/route_trial.h"
#include "costs/window_trial.h"

// What the program costs beside the server's own tools: see scripts/bench-costs.sh.
//
//   costs_bench routes [--rounds N] [--seconds N] [--frames N,N...] [--devices N,N...]
//   costs_bench window [--seconds N]

namespace brindlemux::bench {
namespace {

struct Options {
  int rounds = 3;
  int seconds = 4;
  std::vector<int> frames = {64, 128, 256, 512};
  std::vector<int> devices = {1, 4};
};

std::vector<int> numbers(const std::string& text) {
  std::vector<int> list;
  std::istringstream parts(text);
  for (std::string part; std::getline(parts, part, ',');) list.push_back(std::stoi(part));
  return list;
}

double median(std::vector<double> values) {
  std::ranges::sort(values);
  const std::size_t middle = values.size() / 2;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

/// The delays of each end; equal ends are told once.
std::string text(const std::vector<Delays>& ends) {
  if (ends.empty()) return "-";
  std::vector<std::vector<std::size_t>> different;
  for (const Delays& end : ends) {
    if (std::ranges::find(different, end.frames) == different.end()) different.push_back(end.frames);
  }
  std::ostringstream all;
  for (std::size_t end = 0; end < different.size(); ++end) {
    if (end > 0) all << ' ';
    for (std::size_t i = 0; i < different[end].size(); ++i) all << (i > 0 ? "/" : "") << different[end][i];
  }
  return all.str();
}

std::size_t blocksOff(const Trial& trial) {
  std::size_t off = 0;
  for (const auto* ends : {&trial.toDevices, &trial.toMonitors}) {
    for (const Delays& end : *ends) off += end.blocks == 0 ? 1 : end.blocksOff;
  }
  return off;
}

void tell(Builder builder, const Trial& trial) {
  std::fprintf(stderr,
               "  %-12s cycle %u: %7.2f of %7.2f ms, to device %s, on to monitor %s, blocks off %zu, xruns %d + %d,",
               std::string(nameOf(builder)).c_str(), trial.cycleFrames, trial.programMs, trial.systemMs,
               text(trial.toDevices).c_str(), text(trial.toMonitors).c_str(), blocksOff(trial), trial.xruns,
               trial.errors.totalXruns());
  for (const auto& [node, count] : trial.errors.missed) std::fprintf(stderr, " %s:%d", node.c_str(), count);
  std::fprintf(stderr, "\n");
}

void printRow(const Routes& routes, Builder builder, const std::vector<Trial>& trials, double systemOfLoopbacks) {
  std::vector<double> program;
  std::vector<double> system;
  std::size_t off = 0;
  int xruns = 0;
  int missed = 0;
  std::string device;
  std::string monitor;
  for (const Trial& trial : trials) {
    program.push_back(trial.programMs);
    system.push_back(trial.systemMs);
    off += blocksOff(trial);
    xruns += trial.xruns;
    missed += trial.errors.totalMissed();
    device = text(trial.toDevices);
    monitor = text(trial.toMonitors);
  }
  std::printf("%7d %6d  %-12s %9.2f %9.2f %7.2f   %-20s %-20s %6zu %6d %6d\n", routes.devices, routes.blockFrames,
              std::string(nameOf(builder)).c_str(), median(program), median(system), median(system) / systemOfLoopbacks,
              device.c_str(), monitor.c_str(), off, xruns, missed);
}

void measure(const Routes& routes, const Options& options) {
  constexpr Builder builders[] = {Builder::brindlemux, Builder::loopbacks, Builder::links};
  std::map<Builder, std::vector<Trial>> trials;
  for (int round = 0; round < options.rounds; ++round) {
    for (const Builder builder : builders) {
      try {
        trials[builder].push_back(tryRoutes(builder, routes, options.seconds));
        tell(builder, trials[builder].back());
      } catch (const std::exception& error) {
        std::fprintf(stderr, "  %s: %s\n", std::string(nameOf(builder)).c_str(), error.what());
      }
    }
  }
  std::vector<double> system;
  for (const Trial& trial : trials[Builder::loopbacks]) system.push_back(trial.systemMs);
  for (const Builder builder : builders) {
    if (!trials[builder].empty()) printRow(routes, builder, trials[builder], system.empty() ? 0 : median(system));
  }
  std::fflush(stdout);
}

int compareRoutes(const Options& options) {
  std::printf("%7s %6s  %-12s %9s %9s %7s   %-20s %-20s %6s %6s %6s\n", "devices", "frames", "routes by", "program",
              "system", "ratio", "to device", "on to monitor", "off", "xruns", "errors");
  for (const int devices : options.devices) {
    for (const int frames : options.frames) measure({.devices = devices, .blockFrames = frames}, options);
  }
  return EXIT_SUCCESS;
}

}  // namespace
}  // namespace brindlemux::bench

int main(int argc, char* argv[]) {
  using namespace brindlemux::bench;
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments.size() == 4 && arguments[0] == "play") {
    return play(arguments[1], std::stoul(arguments[2]), arguments[3] == "connect" ? Autoconnect::yes : Autoconnect::no);
  }
  try {
    Options options;
    for (std::size_t i = 1; i + 1 < arguments.size(); i += 2) {
      if (arguments[i] == "--rounds") options.rounds = std::stoi(arguments[i + 1]);
      if (arguments[i] == "--seconds") options.seconds = std::stoi(arguments[i + 1]);
      if (arguments[i] == "--frames") options.frames = numbers(arguments[i + 1]);
      if (arguments[i] == "--devices") options.devices = numbers(arguments[i + 1]);
    }
    if (!arguments.empty() && arguments[0] == "routes") return compareRoutes(options);
    if (!arguments.empty() && arguments[0] == "window") {
      tryWindow(Display(), options.seconds);
      return EXIT_SUCCESS;
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "costs_bench: %s\n", error.what());
    return EXIT_FAILURE;
  }
  std::fprintf(stderr, "usage: costs_bench routes|window [--OPTION VALUE]...\n");
  return 2;
}
