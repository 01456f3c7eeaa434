#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "engine/device_engine.h"
#include "support/engine_scene.h"

namespace brindlemux::test {

/// The identifier of a test's node.
inline UUID node(std::uint64_t number) { return CountingUUIDSource::identifier(1000 + number); }

/// A simulated server without devices, a graph to be filled, and the engine that runs it.
struct RoutedEngine : EngineScene {
  static constexpr const char* virtualUID = "BrindlemuxAudio_UID_A";

  DeviceGraph graph{virtualUID};
  DeviceEngine engine{virtualUID, graph, services};
  std::int64_t deviceChannels = 2;

  /// Brings the engine into line with `graph` and the server; returns the calls that this took.
  std::vector<std::string> reconcile() {
    takeJournal();
    engine.setGraph(graph);
    engine.reconcile(deviceChannels, discovery.listAudioProcesses(), discovery.listAudioDevices());
    return takeJournal();
  }

  /// Adds a source whose first `wires` channels go to the same channels of the device.
  UUID addSource(std::uint64_t number, SourceKindConfig kind, std::int64_t wires = 2) {
    SourceNodeConfig source;
    source.id = node(number);
    source.kind = std::move(kind);
    graph.sources.push_back(source);
    for (std::int64_t channel = 0; channel < wires; ++channel) graph.wires.push_back({source.id, channel, channel});
    return source.id;
  }
  UUID addMic(std::uint64_t number, const std::string& uid = "Microphone", std::int64_t wires = 2) {
    return addSource(number, MicSource{uid, uid}, wires);
  }
  UUID addApp(std::uint64_t number, const std::string& bundleID = "com.example.Player") {
    return addSource(number, AppSource{bundleID, bundleID});
  }
  /// Adds a monitor that hears the device's first `wires` channels on the same channels of its own.
  UUID addMonitor(std::uint64_t number, const std::string& uid = "Speakers", std::int64_t wires = 2) {
    MonitorNodeConfig monitor;
    monitor.id = node(number);
    monitor.deviceUID = uid;
    monitor.name = uid;
    graph.monitors.push_back(monitor);
    for (std::int64_t channel = 0; channel < wires; ++channel) {
      graph.monitorWires.push_back({channel, monitor.id, channel});
    }
    return monitor.id;
  }
};

}  // namespace brindlemux::test
