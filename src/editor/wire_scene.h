#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "editor/flow_overlay.h"
#include "editor/graph_layout_model.h"
#include "editor/wire_ends.h"
#include "editor/wire_selection.h"
#include "engine/meter_snapshot.h"
#include "model/device_graph.h"

namespace brindlemux {

/// Everything that the look of the wires follows from. Borrows; made for the moment in which it is looked at.
struct WireScene {
  const DeviceGraph& graph;
  std::int64_t deviceChannels = 0;
  const PortPositions& positions;
  const WireSelection& selectedWire;
  /// From the dragged port to the pointer.
  std::optional<WireEnds> dragLine;
  /// Null while the engine has published none.
  const MeterSnapshot* meters = nullptr;
};

/// The line of a wire itself. Lengths are points; a line without dashes is solid.
struct WireStroke {
  enum class Colour { accent, selection, secondary };

  Colour colour = Colour::accent;
  double opacity = 1;
  double width = 2;
  double dashOn = 0;
  double dashOff = 0;

  friend bool operator==(const WireStroke&, const WireStroke&) = default;
};

/// One wire as it is drawn.
struct DrawnWire {
  WireEnds ends;
  WireStroke stroke;
  std::optional<FlowOverlay> flow;

  friend bool operator==(const DrawnWire&, const DrawnWire&) = default;
};

/// The wires of a scene in drawing order, later ones on top: those that end at the output column, then those that start
/// there, then the line of a drag.
struct DrawnWires {
  std::vector<DrawnWire> toOutput;
  std::vector<DrawnWire> fromOutput;
  std::vector<DrawnWire> drag;

  static DrawnWires of(const WireScene& scene);
  friend bool operator==(const DrawnWires&, const DrawnWires&) = default;
};

}  // namespace brindlemux
