#pragma once

#include <cstdint>
#include <functional>
#include <span>

namespace brindlemux {

/// Adds `frames` frames at 48000 Hz into cleared planar buffers; runs on the render thread.
using RenderFunction = std::function<void(std::span<float* const> buffers, std::int64_t frames)>;

/// The most frames that a render function is asked for at a time.
inline constexpr std::int64_t maximumRenderFrames = 8192;

}  // namespace brindlemux
