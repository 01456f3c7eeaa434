#pragma once

#include <string_view>

namespace brindlemux {

/// Reports a broken promise of the program's own code on standard error and stops the process, in every build.
///
/// Threads: any.
[[noreturn]] void fatalError(std::string_view what) noexcept;

}  // namespace brindlemux
