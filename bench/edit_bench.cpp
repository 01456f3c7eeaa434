// How long the controller's thread is busy with one step of a gain slider, with large graphs on a real disk.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "app/controller/app_state.h"
#include "model/graph_store.h"
#include "model/system_log.h"
#include "platform/discovery.h"
#include "platform/simulated/counting_uuid_source.h"
#include "platform/simulated/simulated_audio_hardware.h"
#include "platform/simulated/table_running_applications.h"
#include "platform/simulated/virtual_clock.h"
#include "platform/simulated/virtual_scheduler.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"

namespace brindlemux::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int devices = 32;
constexpr int sourcesOfADevice = 16;
constexpr int channels = 16;
constexpr int steps = 1000;

std::string uid(int device) {
  return "BrindlemuxAudio_UID_" + CountingUUIDSource::identifier(static_cast<std::uint64_t>(device)).string();
}

UUID nodeOf(int device, int number) {
  return CountingUUIDSource::identifier(1000 + 100 * static_cast<std::uint64_t>(device) +
                                        static_cast<std::uint64_t>(number));
}

/// Every source a stereo application on a pair of outputs of its own, as a mixing desk has them, and two monitors.
DeviceGraph desk(int device) {
  DeviceGraph graph(uid(device));
  for (int number = 0; number < sourcesOfADevice; ++number) {
    const UUID id = nodeOf(device, number);
    const std::string name = "Application " + std::to_string(number);
    graph.sources.push_back({.id = id, .kind = AppSource{"org.example." + name, name}, .channelGains = {1.0F, 1.0F}});
    graph.wires.push_back({id, 0, (2 * number) % channels});
    graph.wires.push_back({id, 1, (2 * number + 1) % channels});
  }
  for (int number = 0; number < 2; ++number) {
    const UUID id = nodeOf(device, 90 + number);
    graph.monitors.push_back({.id = id, .deviceUID = "output", .name = "Output"});
    graph.monitorWires.push_back({0, id, 0});
    graph.monitorWires.push_back({1, id, 1});
  }
  graph.outputGains.assign(channels, 0.8F);
  return graph;
}

double milliseconds(Clock::duration duration) { return std::chrono::duration<double, std::milli>(duration).count(); }

void measure(const std::filesystem::path& parent) {
  const test::TemporaryFolder folder(parent);
  const test::FolderLocations locations(folder.path());
  StandardErrorLog log;
  VirtualClock clock;
  CountingUUIDSource uuids;
  VirtualScheduler scheduler;
  SimulatedAudioHardware hardware;
  TableRunningApplications applications;
  const Discovery discovery(hardware, applications);
  GraphStore store(locations, clock, log);

  DeviceGraphs graphs;
  std::vector<VirtualDeviceConfig> list;
  for (int device = 0; device < devices; ++device) {
    graphs.emplace(uid(device), desk(device));
    list.push_back({.uid = uid(device), .name = "Desk " + std::to_string(device), .channels = channels});
  }
  store.save(graphs);
  SimulatedDevice output;
  output.uid = "output";
  output.name = "Output";
  output.outputBuffers = {2};
  hardware.addDevice(output);
  for (int number = 0; number < sourcesOfADevice; ++number) {
    const std::string name = "Application " + std::to_string(number);
    hardware.addProcess({.pid = 100 + number, .bundleID = "org.example." + name, .isPlaying = true});
    applications.set(100 + number, name);
  }
  hardware.installDriver(list);

  AppState state({.engine = {.hardware = hardware, .discovery = discovery, .clock = clock, .uuids = uuids},
                  .graphStore = store,
                  .scheduler = scheduler});
  std::vector<double> times;
  const Clock::time_point start = Clock::now();
  for (int step = 0; step < steps; ++step) {
    const float gain = static_cast<float>(step) / steps;
    const Clock::time_point begin = Clock::now();
    state.updateGraph(uid(devices / 2), AppState::Persist::yes,
                      [gain](DeviceGraph& graph) { graph.sources[3].gain = gain; });
    times.push_back(milliseconds(Clock::now() - begin));
  }
  state.shutdown();
  const double total = milliseconds(Clock::now() - start);
  std::ranges::sort(times);
  std::printf("%-40s %8.0f KiB %9.3f ms %9.3f ms %9.3f ms %9.3f ms\n", parent.c_str(),
              static_cast<double>(std::filesystem::file_size(store.fileURL())) / 1024, times[steps / 2],
              times[steps * 99 / 100], times.back(), total / steps);
}

}  // namespace
}  // namespace brindlemux::bench

/// Measures in every folder that is named; in the working directory when none is.
int main(int argc, char** argv) {
  std::printf("%-40s %12s %12s %12s %12s %12s\n", "folder", "file", "median", "99th of 100", "longest", "whole step");
  std::vector<std::filesystem::path> folders(argv + 1, argv + argc);
  if (folders.empty()) folders.push_back(std::filesystem::current_path());
  for (const std::filesystem::path& folder : folders) brindlemux::bench::measure(folder);
  return EXIT_SUCCESS;
}
