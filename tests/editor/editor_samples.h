#pragma once

#include <cstdint>

#include "model/device_graph.h"

namespace brindlemux::test {

inline UUID nodeID(std::uint8_t number) { return UUID{{number}}; }

inline SourceNodeConfig source(std::uint8_t number, bool enabled = true) {
  return {.id = nodeID(number), .kind = SystemAudioSource{}, .enabled = enabled};
}

inline MonitorNodeConfig monitor(std::uint8_t number) {
  return {.id = nodeID(number), .deviceUID = "speakers", .name = "Speakers"};
}

}  // namespace brindlemux::test
