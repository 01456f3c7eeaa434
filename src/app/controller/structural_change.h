#pragma once

#include "model/device_graph.h"

namespace brindlemux {

/// Whether an engine must start its captures and outputs anew for this change of its graph: other sources or monitors,
/// the same in another order, another device of a monitor, the whole graph switched on or off, another block size.
/// Gains, wires, names and the switches of single nodes are not structural: what runs takes them over.
bool isStructuralChange(const DeviceGraph& before, const DeviceGraph& after);

}  // namespace brindlemux
