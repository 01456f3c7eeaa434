#pragma once

#include <cstdint>
#include <functional>

namespace brindlemux {

/// What a simulated source sounds like: the sample of one channel at one frame position. Frames count at the source's
/// own rate from the beginning of virtual time, so that the same position always sounds the same.
using SimulatedSignal = std::function<float(std::int64_t frame, std::uint32_t channel)>;

}  // namespace brindlemux
