#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

namespace brindlemux {

/// The whole file, cut off at `maximumBytes`; nothing when it cannot be read. Only a regular file is: a pipe or a
/// device might never end. Throws std::bad_alloc.
std::optional<std::string> readRegularFile(const std::filesystem::path& file, std::size_t maximumBytes);

}  // namespace brindlemux
