#pragma once

#include <string>
#include <vector>

#include "app/controller/app_state.h"

namespace brindlemux {

/// How the routes are doing, one line for each virtual device: the rate and the block in effect beside those asked for,
/// and what its engine has counted. Threads: the main thread.
std::vector<std::string> routeReport(const AppState& state);

}  // namespace brindlemux
