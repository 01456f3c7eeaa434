#include "histories/wanted.h"

#include <algorithm>
#include <numeric>

namespace brindlemux::history {
namespace {

std::int64_t channelCount(const std::vector<std::uint32_t>& buffers) {
  return std::accumulate(buffers.begin(), buffers.end(), std::int64_t{0});
}

class Model {
 public:
  Model(const World& world, const Environment& environment, const RunningTaps& taps)
      : world_(world), environment_(environment), taps_(taps) {}

  void want(const AppSource& app) {
    std::vector<const AudioProcessInfo*> candidates;
    for (const AudioProcessInfo& process : environment_.processes) {
      if (process.bundleID == app.bundleID) candidates.push_back(&process);
    }
    if (candidates.empty()) return;
    if (const RunningTap* tap = keptTap(app.bundleID)) {
      const std::int32_t pid = world_.known(tap->processes.front()).pid;
      const bool isListed =
          std::any_of(candidates.begin(), candidates.end(), [pid](const auto* process) { return process->pid == pid; });
      if (isListed) return want(app.bundleID, *tap);
    }
    const auto playing =
        std::find_if(candidates.begin(), candidates.end(), [](const auto* process) { return process->isPlaying; });
    const AudioObjectID chosen = (playing == candidates.end() ? candidates.front() : *playing)->id;
    if (!world_.hardware.objects().processes().contains(chosen)) {
      // It has quit since the list was read.
      wanted.message = "Creating process tap failed (OSStatus " + std::to_string(kAudioHardwareBadObjectError) + ")";
      return;
    }
    wantTap(app.bundleID, {chosen});
  }

  void want(const MicSource& mic) {
    const Pluggable* device = world_.withUID(mic.deviceUID);
    if (device == nullptr || !device->isPresent()) return;
    if (channelCount(world_.hardware.objects().device(device->id)->inputBuffers) < 1) {
      wanted.message = "Device has no input channels";
    } else {
      wanted.running.add(Running::captureOf(device->uid, device->id), "");
    }
  }

  void want(const SystemAudioSource&) {
    if (const RunningTap* tap = keptTap("")) return want("", *tap);
    std::vector<AudioObjectID> exceptions;
    if (const RunningProcess* own = world_.ownProcess()) exceptions.push_back(own->id);
    wantTap("", exceptions);
  }

  void want(const MonitorNodeConfig& monitor) {
    if (!monitor.enabled) return;
    const auto device =
        std::find_if(environment_.devices.begin(), environment_.devices.end(),
                     [&monitor](const AudioDeviceInfo& listed) { return listed.uid == monitor.deviceUID; });
    if (device == environment_.devices.end()) return;
    // An output on a device that went after the list was read is kept where it runs, and cannot be made where not.
    if (world_.hardware.objects().device(device->id) == nullptr) wanted.isCertain = false;
    wanted.running.add(Running::outputOn(device->uid, device->id),
                       Running::channels(std::clamp<std::int64_t>(device->outputChannels, 1, 16)));
  }

  Wanted wanted;

 private:
  /// The tap that runs, while its clock is there.
  const RunningTap* keptTap(const std::string& bundleID) const {
    const auto tap = taps_.find(bundleID);
    if (tap == taps_.end()) return nullptr;
    const Pluggable* clock = world_.withUID(tap->second.clockUID);
    return clock != nullptr && clock->isPresent() ? &tap->second : nullptr;
  }

  void want(const std::string& bundleID, const RunningTap& tap) {
    wanted.running.add(Running::tapOf(bundleID), Running::tapDetail(tap.processes, tap.clockUID));
  }

  void wantTap(const std::string& bundleID, const std::vector<AudioObjectID>& processes) {
    if (const auto clock = world_.tapClock()) {
      want(bundleID, RunningTap{processes, *clock});
    } else {
      wanted.message = "No hardware output device found for tap clock";
    }
  }

  const World& world_;
  const Environment& environment_;
  const RunningTaps& taps_;
};

}  // namespace

Wanted wantedOf(const World& world, const Routing& routing, const Environment& environment, const RunningTaps& taps) {
  const DeviceGraph& graph = routing.graph;
  const Pluggable* device = world.withUID(routing.uid);
  if (!graph.enabled || !device->isPresent()) return {};
  Model model(world, environment, taps);
  for (const SourceNodeConfig& source : graph.sources) {
    std::visit([&model](const auto& kind) { model.want(kind); }, source.kind);
  }
  Running& running = model.wanted.running;
  if (!graph.wires.empty()) {
    running.add(Running::outputOn(device->uid, device->id),
                Running::channels(std::clamp<std::int64_t>(routing.channels, 1, 16)));
  }
  running.add(Running::captureOf(device->uid, device->id), "");
  for (const MonitorNodeConfig& monitor : graph.monitors) model.want(monitor);
  running.sort();
  return model.wanted;
}

}  // namespace brindlemux::history
