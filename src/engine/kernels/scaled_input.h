#pragma once

namespace brindlemux {

/// Borrowed samples and the linear gain that they are added with.
struct ScaledInput {
  const float* samples = nullptr;
  float gain = 1.0F;
};

}  // namespace brindlemux
