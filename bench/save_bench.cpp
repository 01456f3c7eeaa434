#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>

#include "benches.h"
#include "model/graph_codec.h"
#include "model/graph_store.h"
#include "model/replace_file.h"
#include "side_by_side.h"
#include "support/store_services.h"
#include "support/temporary_folder.h"

namespace brindlemux::bench {
namespace {

constexpr int devices = 32;
constexpr int sourcesPerDevice = 16;

UUID identifier(int device, int node) {
  UUID id;
  id.bytes[0] = static_cast<std::uint8_t>(device);
  id.bytes[1] = static_cast<std::uint8_t>(node);
  return id;
}

/// Stereo sources on the first two outputs of their devices, and two monitors on each.
DeviceGraphs everything() {
  DeviceGraphs graphs;
  for (int device = 0; device < devices; ++device) {
    DeviceGraph graph("device-" + std::to_string(device));
    graph.outputGains = {0.7F, 0.8F};
    for (int node = 0; node < sourcesPerDevice; ++node) {
      SourceNodeConfig source;
      source.id = identifier(device, node);
      source.kind = AppSource{.bundleID = "org.example.player" + std::to_string(node), .name = "A player"};
      source.gain = 0.1F * static_cast<float>(node);
      for (const SourceWire& wire : DeviceGraph::defaultWires(source, 2)) graph.wires.push_back(wire);
      graph.sources.push_back(source);
    }
    for (int node = 0; node < 2; ++node) {
      MonitorNodeConfig monitor;
      monitor.id = identifier(device, 100 + node);
      monitor.deviceUID = "speakers-" + std::to_string(node);
      monitor.name = "Speakers";
      for (const MonitorWire& wire : DeviceGraph::defaultMonitorWires(monitor, 2, 2))
        graph.monitorWires.push_back(wire);
      graph.monitors.push_back(monitor);
    }
    graphs.emplace(graph.deviceUID, graph);
  }
  return graphs;
}

struct Bench {
  const DeviceGraphs graphs = everything();
  const std::string encoded = std::get<std::string>(encodeGraphs(graphs));
  /// Below the working folder, since a folder for temporary files may be kept in memory.
  const test::TemporaryFolder folder{std::filesystem::current_path()};
  const test::FolderLocations locations{folder.path()};
  SystemClock clock;
  StandardErrorLog log;
  GraphStore store{locations, clock, log};
};

/// Made when the first of the benchmarks runs.
Bench& everyones() {
  static Bench bench;
  return bench;
}

void add(const std::string& what, void (*run)(Bench&)) {
  Comparison comparison;
  comparison.what =
      what + " ns, " + std::to_string(devices) + " devices, " + std::to_string(sourcesPerDevice) + " sources each";
  comparison.prepare = [] { everyones(); };
  comparison.prepareBound = comparison.prepare;
  comparison.operation = [run](std::int64_t times) {
    for (std::int64_t i = 0; i < times; ++i) run(everyones());
  };
  comparison.times = 1;
  comparison.slices = 40;
  comparison.figure = Comparison::Figure::nanoseconds;
  compare(std::move(comparison));
}

}  // namespace

void registerSaving() {
  add("save", [](Bench& all) { all.store.save(all.graphs); });
  add("encode alone", [](Bench& all) { benchmark::DoNotOptimize(encodeGraphs(all.graphs)); });
  add("replace the file alone", [](Bench& all) { replaceFile(all.folder.path() / "alone.json", all.encoded); });
}

}  // namespace brindlemux::bench
