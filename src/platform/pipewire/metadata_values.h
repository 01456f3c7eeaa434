#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindlemux {

// What the session's metadata say. Any client may have written them: what cannot be read gives nothing.

/// The node that a value such as {"name":"speakers"} names.
std::optional<std::string> nodeNameIn(std::string_view value);

/// The whole number from 1 to 2^32 - 1 that the text begins with.
std::optional<double> positiveNumberIn(std::string_view value) noexcept;

}  // namespace brindlemux
