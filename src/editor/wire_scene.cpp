#include "editor/wire_scene.h"

#include "editor/wire_activity.h"

namespace brindlemux {
namespace {

constexpr WireStroke passThruStroke{WireStroke::Colour::secondary, 0.5, 1.5, 5, 4};
constexpr WireStroke selectedStroke{WireStroke::Colour::selection, 1, 3.5};
constexpr WireStroke enabledSourceStroke{WireStroke::Colour::accent, 1, 2};
constexpr WireStroke disabledSourceStroke{WireStroke::Colour::accent, 0.22, 2};
constexpr WireStroke monitorStroke{WireStroke::Colour::accent, 0.85, 2};
constexpr WireStroke dragStroke{WireStroke::Colour::accent, 0.7, 2, 6, 4};

std::optional<FlowOverlay> flowOf(std::optional<float> peak) {
  return audible(peak) ? std::optional(FlowOverlay::of(*peak)) : std::nullopt;
}

void addPassThruWires(const WireScene& scene, std::vector<DrawnWire>& wires) {
  for (std::int64_t channel = 0; channel < scene.deviceChannels; ++channel) {
    const auto ends = passThruWireEnds(scene.positions, channel);
    if (!ends) continue;
    const auto peak = scene.meters != nullptr ? peakOf(scene.meters->passThruPeaks, channel) : std::nullopt;
    wires.push_back({*ends, passThruStroke, flowOf(peak)});
  }
}

void addSourceWires(const WireScene& scene, std::vector<DrawnWire>& wires) {
  const auto audibleIDs = audibleSourceIDs(scene.graph);
  for (const SourceWire& wire : scene.graph.wires) {
    const auto ends = wireEnds(scene.positions, wire);
    if (!ends) continue;
    const bool isAudible = audibleIDs.contains(wire.sourceID);
    const bool isSelected = scene.selectedWire == WireSelection::source(wire);
    const auto peak = isAudible && scene.meters != nullptr
                          ? sourcePeakOf(*scene.meters, wire.sourceID, wire.sourceChannel)
                          : std::nullopt;
    wires.push_back({*ends,
                     isSelected  ? selectedStroke
                     : isAudible ? enabledSourceStroke
                                 : disabledSourceStroke,
                     flowOf(peak)});
  }
}

void addMonitorWires(const WireScene& scene, std::vector<DrawnWire>& wires) {
  for (const MonitorWire& wire : scene.graph.monitorWires) {
    const auto ends = wireEnds(scene.positions, wire);
    if (!ends) continue;
    const bool isSelected = scene.selectedWire == WireSelection::monitor(wire);
    const auto peak = scene.meters != nullptr ? peakOf(scene.meters->outputPeaks, wire.outputChannel) : std::nullopt;
    wires.push_back({*ends, isSelected ? selectedStroke : monitorStroke, flowOf(peak)});
  }
}

}  // namespace

DrawnWires DrawnWires::of(const WireScene& scene) {
  DrawnWires wires;
  addPassThruWires(scene, wires.toOutput);
  addSourceWires(scene, wires.toOutput);
  addMonitorWires(scene, wires.fromOutput);
  if (scene.dragLine) wires.drag.push_back({*scene.dragLine, dragStroke, std::nullopt});
  return wires;
}

}  // namespace brindlemux
