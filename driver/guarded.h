#pragma once

#include <exception>
#include <pipewire/log.h>
#include <utility>

namespace brindlemux::driver {

/// Runs what the server has called us for. The server is written in C and an exception must not reach it: whatever is
/// thrown (in practice, memory running out) is logged, and the call counts as not done.
template <typename Action>
void guarded(const char* what, Action&& action) noexcept {
  try {
    std::forward<Action>(action)();
  } catch (const std::exception& error) {
    pw_log_error("brindlemux: %s: %s", what, error.what());
  } catch (...) {
    pw_log_error("brindlemux: %s: unknown exception", what);
  }
}

}  // namespace brindlemux::driver
