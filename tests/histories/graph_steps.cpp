#include <algorithm>
#include <array>

#include "histories/steps.h"

namespace brindlemux::history {
namespace {

constexpr std::size_t mostNodes = 6;

/// A multiple of 1/8 up to 2.
float anyGain(Random& random) { return static_cast<float>(random.below(17)) / 8.0F; }

std::vector<float> anyGains(Random& random) {
  std::vector<float> gains(static_cast<std::size_t>(random.below(5)));
  for (float& gain : gains) gain = anyGain(random);
  return gains;
}

/// A channel that is mostly there, and sometimes out of range on either side.
std::int64_t anyChannel(Random& random, std::int64_t count) {
  if (random.chance(5)) return random.chance(50) ? -1 : 40;
  return random.below(count + 1);
}

/// Edits a random device's graph. An edit that finds nothing to do returns no text.
template <typename Edit>
std::string edit(History& history, Random& random, Edit change) {
  Routing& routing = random.oneOf(history.routings());
  DeviceGraph graph = routing.graph;
  std::string what = change(graph, routing);
  if (what.empty()) return {};
  history.updateGraph(routing, graph);
  return what + " of " + routing.uid;
}

UUID newID(Random& random) { return CountingUUIDSource::identifier(random.next() | (std::uint64_t{1} << 63U)); }

/// What the graph may still capture: a person adds an application, or the system, once.
std::optional<SourceKindConfig> anyKind(const DeviceGraph& graph, const World& world, Random& random) {
  const auto has = [&graph](const auto& isIt) {
    return std::any_of(graph.sources.begin(), graph.sources.end(),
                       [&isIt](const SourceNodeConfig& source) { return isIt(source.kind); });
  };
  switch (random.below(5)) {
    case 0:
      if (has([](const SourceKindConfig& kind) { return std::holds_alternative<SystemAudioSource>(kind); })) return {};
      return SystemAudioSource{};
    case 1:
    case 2: {
      const std::string& bundleID = random.oneOf(World::bundleIDs());
      const auto isIt = [&bundleID](const SourceKindConfig& kind) {
        const auto* app = std::get_if<AppSource>(&kind);
        return app != nullptr && app->bundleID == bundleID;
      };
      if (has(isIt)) return {};
      return AppSource{bundleID, bundleID};
    }
    default: {
      const Pluggable& device = random.oneOf(world.devices);
      // Mostly one that has an input; never a virtual device, whose sound would go round in a circle.
      if (device.isVirtual || (!device.hasInput && random.chance(80))) return {};
      return MicSource{device.uid, device.uid};
    }
  }
}

std::string addSource(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing& routing) -> std::string {
    auto kind = graph.sources.size() < mostNodes ? anyKind(graph, history.world(), random) : std::nullopt;
    if (!kind) return {};
    SourceNodeConfig source;
    source.id = newID(random);
    source.kind = std::move(*kind);
    source.gain = anyGain(random);
    if (random.chance(40)) source.channelGains = anyGains(random);
    graph.sources.push_back(source);
    if (random.chance(80)) {
      for (const SourceWire& wire : DeviceGraph::defaultWires(source, routing.channels)) graph.wires.push_back(wire);
    }
    return "add a source";
  });
}

std::string removeSource(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.sources.empty()) return {};
    const auto source = graph.sources.begin() + random.below(std::ssize(graph.sources));
    // Wires of a node that is gone are tolerated.
    if (random.chance(80)) std::erase_if(graph.wires, [&](const auto& wire) { return wire.sourceID == source->id; });
    graph.sources.erase(source);
    return "remove a source";
  });
}

std::string moveSource(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.sources.size() < 2) return {};
    std::rotate(graph.sources.begin(), graph.sources.begin() + 1, graph.sources.end());
    return "reorder the sources";
  });
}

std::string changeSource(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.sources.empty()) return {};
    SourceNodeConfig& source = random.oneOf(graph.sources);
    switch (random.below(3)) {
      case 0:
        source.enabled = !source.enabled;
        return "switch a source";
      case 1:
        source.channelGains = anyGains(random);
        return "channel gains of a source";
      default:
        source.gain = anyGain(random);
        return "gain of a source";
    }
  });
}

std::string addWire(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing& routing) -> std::string {
    if (graph.sources.empty() || graph.wires.size() >= 24) return {};
    graph.wires.push_back(
        {random.oneOf(graph.sources).id, anyChannel(random, 4), anyChannel(random, routing.channels)});
    return "add a wire";
  });
}

std::string removeWires(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.wires.empty()) return {};
    if (random.chance(15)) {
      graph.wires.clear();
      return "remove all wires";
    }
    graph.wires.erase(graph.wires.begin() + random.below(std::ssize(graph.wires)));
    return "remove a wire";
  });
}

std::string addMonitor(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing& routing) -> std::string {
    const Pluggable& device = random.oneOf(history.world().devices);
    if (graph.monitors.size() >= mostNodes || device.isVirtual) return {};
    if (!device.hasOutput && random.chance(80)) return {};
    MonitorNodeConfig monitor;
    monitor.id = newID(random);
    monitor.deviceUID = device.uid;
    monitor.name = device.uid;
    monitor.gain = anyGain(random);
    graph.monitors.push_back(monitor);
    for (const MonitorWire& wire : DeviceGraph::defaultMonitorWires(monitor, routing.channels, 2)) {
      graph.monitorWires.push_back(wire);
    }
    return "add a monitor";
  });
}

std::string removeMonitor(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.monitors.empty()) return {};
    const auto monitor = graph.monitors.begin() + random.below(std::ssize(graph.monitors));
    if (random.chance(80)) {
      std::erase_if(graph.monitorWires, [&](const auto& wire) { return wire.monitorID == monitor->id; });
    }
    graph.monitors.erase(monitor);
    return "remove a monitor";
  });
}

std::string changeMonitor(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (graph.monitors.empty()) return {};
    switch (random.below(4)) {
      case 0:
        random.oneOf(graph.monitors).gain = anyGain(random);
        return "gain of a monitor";
      case 1:
        std::rotate(graph.monitors.begin(), graph.monitors.begin() + 1, graph.monitors.end());
        return "reorder the monitors";
      default: {
        MonitorNodeConfig& monitor = random.oneOf(graph.monitors);
        monitor.enabled = !monitor.enabled;
        return "switch a monitor";
      }
    }
  });
}

std::string changeMonitorWires(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing& routing) -> std::string {
    if (random.chance(60)) {
      if (graph.monitors.empty() || graph.monitorWires.size() >= 24) return {};
      graph.monitorWires.push_back(
          {anyChannel(random, routing.channels), random.oneOf(graph.monitors).id, anyChannel(random, 8)});
      return "add a monitor wire";
    }
    if (graph.monitorWires.empty()) return {};
    graph.monitorWires.erase(graph.monitorWires.begin() + random.below(std::ssize(graph.monitorWires)));
    return "remove a monitor wire";
  });
}

std::string changeOutput(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    if (random.chance(50)) {
      graph.outputGains = anyGains(random);
      return "output gains";
    }
    graph.masterGain = anyGain(random);
    return "master gain";
  });
}

std::string switchDevice(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    // Mostly on, or nothing would happen.
    graph.enabled = !graph.enabled || !random.chance(50);
    return graph.enabled ? "switch on" : "switch off";
  });
}

std::string changeLatency(History& history, Random& random) {
  return edit(history, random, [&](DeviceGraph& graph, const Routing&) -> std::string {
    static const std::vector<std::int64_t> latencies = {-3, 16, 64, 128, 256, 512, 700};
    graph.latencyFrames = random.oneOf(latencies);
    return "latency " + std::to_string(graph.latencyFrames);
  });
}

/// A device leaves the driver's list, with its engine, or comes back into it.
std::string listDevice(History& history, Random& random) {
  Routing& routing = random.oneOf(history.routings());
  if (routing.engine != nullptr && random.chance(40)) {
    history.discard(routing);
    return "discard the engine of " + routing.uid;
  }
  if (routing.engine != nullptr) return {};
  history.list(routing);
  return "list " + routing.uid;
}

std::string restart(History& history, Random&) {
  history.restartAll();
  return "restart all engines";
}

}  // namespace

std::span<const Step> graphSteps() {
  static constexpr auto steps = std::to_array<Step>({{45, addSource},
                                                     {18, removeSource},
                                                     {8, moveSource},
                                                     {30, changeSource},
                                                     {30, addWire},
                                                     {18, removeWires},
                                                     {30, addMonitor},
                                                     {12, removeMonitor},
                                                     {25, changeMonitor},
                                                     {25, changeMonitorWires},
                                                     {20, changeOutput},
                                                     {10, switchDevice},
                                                     {10, changeLatency},
                                                     {10, listDevice},
                                                     {4, restart}});
  return steps;
}

}  // namespace brindlemux::history
