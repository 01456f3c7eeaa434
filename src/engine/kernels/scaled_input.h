#pragma once

namespace brindlemux {

/// Borrowed samples and the linear gain that they are added with. Without defaults, since render threads make room for
/// many of these at once and would clear it first.
struct ScaledInput {
  const float* samples;
  float gain;
};

}  // namespace brindlemux
