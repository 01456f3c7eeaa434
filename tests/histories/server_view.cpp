#include "histories/server_view.h"

#include <algorithm>

namespace brindlemux::history {
namespace {

std::string label(const char* kind, std::uint64_t number) { return kind + std::to_string(number); }

std::string named(const SimulatedAudioHardware& hardware, AudioObjectID object) {
  return hardware.objects().label(object);
}

/// The procedures on an aggregate; those that run come as "running".
std::vector<std::string> procsOn(const SimulatedAudioHardware& hardware, AudioObjectID device, const Labels& labels) {
  std::vector<std::string> states;
  for (const auto& [id, proc] : hardware.io().procs()) {
    if (proc.device == device && labels.contains(label("proc", id))) {
      states.emplace_back(proc.running ? "running" : "stopped");
    }
  }
  return states;
}

std::string bundleOf(const World& world, const TapDescription& tap) {
  if (tap.selection == TapDescription::Selection::allExcept) return "";
  return tap.processes.size() == 1 ? world.known(tap.processes.front()).bundleID : "several processes";
}

/// Calls `body(aggregate, tap)` for every complete tap among the labels, and `incomplete(text)` for what is left.
template <typename Body, typename Incomplete>
void forEachTap(const World& world, const Labels& labels, Body body, Incomplete incomplete) {
  const SimulatedObjects& objects = world.hardware.objects();
  std::set<AudioObjectID> paired;
  for (const auto& [id, aggregate] : objects.aggregates()) {
    if (!labels.contains(named(world.hardware, id))) continue;
    const AudioObjectID tap = aggregate.taps.size() == 1 ? aggregate.taps.front() : kAudioObjectUnknown;
    const bool isComplete = objects.tap(tap) != nullptr && labels.contains(named(world.hardware, tap)) &&
                            procsOn(world.hardware, id, labels) == std::vector<std::string>{"running"};
    if (!isComplete) {
      incomplete("incomplete " + named(world.hardware, id));
      continue;
    }
    paired.insert(tap);
    body(aggregate, *objects.tap(tap));
  }
  for (const auto& entry : objects.taps()) {
    const bool isAlone = labels.contains(named(world.hardware, entry.first)) && !paired.contains(entry.first);
    if (isAlone) incomplete("lone " + named(world.hardware, entry.first));
  }
}

}  // namespace

void Running::add(const std::string& kind, const std::string& detail) {
  kinds.push_back(kind);
  details.push_back(kind + detail);
}

void Running::sort() {
  std::sort(kinds.begin(), kinds.end());
  std::sort(details.begin(), details.end());
}

std::string Running::captureOf(const std::string& uid, AudioObjectID device) {
  return "capture of " + uid + " #" + std::to_string(device);
}

std::string Running::outputOn(const std::string& uid, AudioObjectID device) {
  return "output on " + uid + " #" + std::to_string(device);
}

std::string Running::channels(std::int64_t count) { return ", " + std::to_string(count) + " channels"; }

std::string Running::tapOf(const std::string& bundleID) {
  return "tap of " + (bundleID.empty() ? "the system" : bundleID);
}

std::string Running::tapDetail(const std::vector<AudioObjectID>& processes, const std::string& clockUID) {
  std::string text = ", processes";
  for (const AudioObjectID process : processes) text += " #" + std::to_string(process);
  return text + ", clock " + clockUID;
}

Labels labelsOf(const SimulatedAudioHardware& hardware) {
  Labels labels;
  for (const auto& entry : hardware.io().procs()) labels.insert(label("proc", entry.first));
  for (const auto& entry : hardware.io().units()) labels.insert(label("unit", entry.first));
  for (const auto& entry : hardware.objects().taps()) labels.insert(named(hardware, entry.first));
  for (const auto& entry : hardware.objects().aggregates()) labels.insert(named(hardware, entry.first));
  return labels;
}

Running runningOf(const World& world, const Labels& labels) {
  Running running;
  const SimulatedAudioHardware& hardware = world.hardware;
  for (const auto& [id, proc] : hardware.io().procs()) {
    if (!labels.contains(label("proc", id)) || hardware.objects().aggregates().contains(proc.device)) continue;
    const std::string kind = Running::captureOf(named(hardware, proc.device), proc.device);
    running.add(proc.running ? kind : "stopped " + kind, "");
  }
  for (const auto& [id, unit] : hardware.io().units()) {
    if (!labels.contains(label("unit", id))) continue;
    const std::string kind = Running::outputOn(named(hardware, unit.device), unit.device);
    running.add(unit.running ? kind : "stopped " + kind, Running::channels(unit.format.channelsPerFrame));
  }
  forEachTap(
      world, labels,
      [&](const SimulatedAggregate& aggregate, const TapDescription& tap) {
        running.add(Running::tapOf(bundleOf(world, tap)), Running::tapDetail(tap.processes, aggregate.clockUID));
      },
      [&](const std::string& text) { running.add(text, ""); });
  running.sort();
  return running;
}

RunningTaps tapsOf(const World& world, const Labels& labels) {
  RunningTaps taps;
  forEachTap(
      world, labels,
      [&](const SimulatedAggregate& aggregate, const TapDescription& tap) {
        taps[bundleOf(world, tap)] = {tap.processes, aggregate.clockUID};
      },
      [](const std::string&) {});
  return taps;
}

void release(SimulatedAudioHardware& hardware, const Labels& labels) {
  const auto listed = [&labels](const auto& table, const auto& labelOf) {
    std::vector<std::uint64_t> numbers;
    for (const auto& entry : table) {
      if (labels.contains(labelOf(entry.first))) numbers.push_back(entry.first);
    }
    return numbers;
  };
  const auto labelOfObject = [&hardware](AudioObjectID object) { return named(hardware, object); };
  for (const auto unit : listed(hardware.io().units(), [](AudioUnitID id) { return label("unit", id); })) {
    hardware.stopOutputUnit(unit);
    hardware.uninitializeAudioUnit(unit);
    hardware.disposeAudioUnit(unit);
  }
  for (const auto proc : listed(hardware.io().procs(), [](AudioDeviceIOProcID id) { return label("proc", id); })) {
    const AudioObjectID device = hardware.io().procs().at(proc).device;
    hardware.stopDevice(device, proc);
    hardware.destroyIOProc(device, proc);
  }
  for (const auto aggregate : listed(hardware.objects().aggregates(), labelOfObject)) {
    hardware.destroyAggregateDevice(static_cast<AudioObjectID>(aggregate));
  }
  for (const auto tap : listed(hardware.objects().taps(), labelOfObject)) {
    hardware.destroyProcessTap(static_cast<AudioObjectID>(tap));
  }
}

}  // namespace brindlemux::history
