#pragma once

#include <QString>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "app/signal_log.h"
#include "app/simulated_program.h"
#include "support/graph_equality.h"

namespace brindlemux::test {

inline const std::string uidA = device("A").uid;
inline const std::string uidB = device("B").uid;
inline const UUID source = CountingUUIDSource::identifier(100);
inline const UUID monitor = CountingUUIDSource::identifier(200);

inline QString text(const std::string& string) { return QString::fromStdString(string); }

/// Everything that a refused or ignored command must leave as it is.
struct Everything {
  explicit Everything(SimulatedProgram& program)
      : devices(program.state->virtualDevices()),
        graphs(program.state->graphs()),
        selected(program.state->selectedDeviceUID()),
        file(program.graphsFile()),
        resources(program.hardware.liveResources()),
        engines(AppStateProbe::engineCount(*program.state)),
        tick(program.state->engineStateTick()) {}

  std::vector<VirtualDeviceConfig> devices;
  DeviceGraphs graphs;
  std::optional<std::string> selected;
  std::string file;
  std::vector<std::string> resources;
  std::size_t engines;
  std::int64_t tick;

  friend bool operator==(const Everything&, const Everything&) = default;
};

/// A program whose driver has these devices, started; the journal and the signals begin after that.
struct Started : SimulatedProgram {
  explicit Started(const std::vector<VirtualDeviceConfig>& devices = {}) {
    hardware.installDriver(devices);
    start();
    hardware.journal().take();
    signals.emplace(*state);
  }

  /// Wires a source's first channel to every output and every output to a monitor's first channel, with a gain for
  /// each output.
  void wireEveryOutput(const std::string& uid, int channels) {
    state->updateGraph(uid, AppState::Persist::yes, [channels](DeviceGraph& graph) {
      graph.sources.push_back({.id = source, .kind = MicSource{"mic", "Mic"}, .channelGains = {0.25F, 0.75F}});
      graph.monitors.push_back({.id = monitor, .deviceUID = "speakers", .name = "Speakers"});
      for (int output = channels; output-- > 0;) {
        graph.wires.push_back({source, 0, output});
        graph.monitorWires.push_back({output, monitor, 0});
        graph.outputGains.push_back(0.5F + 0.01F * static_cast<float>(output));
      }
    });
    hardware.journal().take();
    signals->take();
  }

  std::optional<SignalLog> signals;
};

}  // namespace brindlemux::test
