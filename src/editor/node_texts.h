#pragma once

#include <cstdint>
#include <string>

#include "model/device_graph.h"

namespace brindlemux {

// What the node cards write.

/// "1 (L)", "2 (R)", "3", ... for the channels 0, 1, 2, ...
std::string channelLabel(std::int64_t channel);

/// A linear gain as a whole percent: 1.0 is "100%". Halves are rounded away from zero.
std::string gainText(float gain);

/// The application's or the device's name as it was when the source was added.
std::string sourceName(const SourceKindConfig& kind);

/// The name of the symbol for what the source captures.
std::string sourceSymbol(const SourceKindConfig& kind);

/// What the source does. `isActive`: its capture runs.
std::string sourceSubtitle(bool isEnabled, bool isActive);

}  // namespace brindlemux
