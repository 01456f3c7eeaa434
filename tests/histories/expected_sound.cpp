#include "histories/expected_sound.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace brindlemux::history {
namespace {

std::size_t channelCount(const std::vector<std::uint32_t>& buffers) {
  return std::accumulate(buffers.begin(), buffers.end(), std::size_t{0});
}

double limited(double level) {
  constexpr double knee = 0.9;
  if (level <= knee) return level;
  const double over = (level - knee) / (1.0 - knee);
  return knee + (1.0 - knee) * over / (over + 1.0);
}

double entryOr(const std::vector<float>& entries, std::int64_t index, double fallback) {
  const bool isThere = index >= 0 && index < std::ssize(entries);
  return isThere ? static_cast<double>(entries[static_cast<std::size_t>(index)]) : fallback;
}

bool isIn(std::int64_t index, std::int64_t count) { return index >= 0 && index < count; }

}  // namespace

Levels& ExpectedSound::outputOf(const Pluggable& device) {
  Levels& output = levels_[device.uid];
  output.resize(channelCount(world_.hardware.objects().device(device.id)->outputBuffers));
  return output;
}

double ExpectedSound::levelOfProcess(AudioObjectID process, std::uint32_t channel) const {
  const auto& processes = world_.hardware.objects().processes();
  const auto found = processes.find(process);
  if (found == processes.end() || !found->second.isPlaying) return 0;
  return static_cast<double>(audibleLevel({found->second.pid, channel}, world_.solo));
}

double ExpectedSound::levelOf(const SourceNodeConfig& source, const RunningTaps& taps, std::int64_t channel) const {
  const auto number = static_cast<std::uint32_t>(channel);
  if (const auto* mic = std::get_if<MicSource>(&source.kind)) {
    const Pluggable* device = world_.withUID(mic->deviceUID);
    const auto& buffers = world_.hardware.objects().device(device->id)->inputBuffers;
    // A device that has fewer channels than when its capture began leaves the others silent.
    if (number >= channelCount(buffers)) return 0;
    return static_cast<double>(audibleLevel({world_.toneOf(mic->deviceUID), number}, world_.solo));
  }
  const auto* app = std::get_if<AppSource>(&source.kind);
  const std::vector<AudioObjectID>& listed = taps.at(app == nullptr ? "" : app->bundleID).processes;
  double sum = 0;
  for (const RunningProcess& process : world_.processes) {
    const bool isListed = std::find(listed.begin(), listed.end(), process.id) != listed.end();
    if (isListed == (app != nullptr)) sum += levelOfProcess(process.id, number);
  }
  return sum;
}

void ExpectedSound::addEngine(const Routing& routing, const RingChannels& rings) {
  const DeviceGraph& graph = routing.graph;
  const Pluggable& device = *world_.withUID(routing.uid);
  if (!graph.enabled || !device.isPresent() || graph.wires.empty()) return;
  const RunningTaps taps = tapsOf(world_, routing.owned);
  Levels mix(static_cast<std::size_t>(routing.channels));
  for (const SourceNodeConfig& source : graph.sources) {
    const auto ring = rings.find(source.id);
    if (!source.enabled || ring == rings.end()) continue;
    for (const SourceWire& wire : graph.wires) {
      const bool isHeard = wire.sourceID == source.id && isIn(wire.sourceChannel, ring->second) &&
                           isIn(wire.outputChannel, routing.channels);
      if (!isHeard) continue;
      const double gain = entryOr(source.channelGains, wire.sourceChannel, static_cast<double>(source.gain)) *
                          static_cast<double>(graph.masterGain) * entryOr(graph.outputGains, wire.outputChannel, 1.0);
      mix[static_cast<std::size_t>(wire.outputChannel)] += levelOf(source, taps, wire.sourceChannel) * gain;
    }
  }
  Levels& output = outputOf(device);
  for (std::size_t channel = 0; channel < std::min(mix.size(), output.size()); ++channel) {
    output[channel] += limited(mix[channel]);
  }
}

void ExpectedSound::addProcesses() {
  for (const auto& [id, process] : world_.hardware.objects().processes()) {
    const Pluggable* device = world_.withUID(process.outputUID);
    if (device == nullptr || !device->isPresent()) continue;
    Levels& output = outputOf(*device);
    for (std::uint32_t channel = 0; channel < output.size(); ++channel) output[channel] += levelOfProcess(id, channel);
  }
}

void ExpectedSound::addMonitors() {
  for (const Routing& routing : history_.routings()) {
    const Pluggable& carrier = *world_.withUID(routing.uid);
    if (routing.engine == nullptr || !routing.graph.enabled || !carrier.isPresent()) continue;
    const Levels carried = outputOf(carrier);
    for (const MonitorNodeConfig& monitor : routing.graph.monitors) {
      const Pluggable* device = world_.withUID(monitor.deviceUID);
      if (!monitor.enabled || device == nullptr || !device->isPresent()) continue;
      Levels& output = outputOf(*device);
      // A unit has 16 channels at the most.
      const auto unitChannels = std::clamp<std::int64_t>(std::ssize(output), 1, 16);
      for (const MonitorWire& wire : routing.graph.monitorWires) {
        const bool isHeard = wire.monitorID == monitor.id && wire.outputChannel < routing.channels &&
                             isIn(wire.outputChannel, std::ssize(carried)) &&
                             isIn(wire.monitorChannel, std::min(unitChannels, std::ssize(output)));
        if (!isHeard) continue;
        output[static_cast<std::size_t>(wire.monitorChannel)] +=
            carried[static_cast<std::size_t>(wire.outputChannel)] * static_cast<double>(monitor.gain);
      }
    }
  }
}

}  // namespace brindlemux::history
