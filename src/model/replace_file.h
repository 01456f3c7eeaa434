#pragma once

#include <filesystem>
#include <string_view>

namespace brindlemux {

/// Gives a file a content, atomically and durably: whoever reads it, even after a loss of power, finds the old bytes or
/// the new ones. A file that exists keeps its permissions; of a symbolic link, the file it leads to is replaced.
///
/// Threads: any; blocks until the bytes are on the disk.
/// Errors: std::filesystem::filesystem_error; the previous file stays and nothing is left beside it.
void replaceFile(const std::filesystem::path& file, std::string_view bytes);

/// Removes what programs that were killed while they replaced the file have left beside it: files of `replaceFile` that
/// are older than a minute and whose process does not run any more.
///
/// Threads: any. Errors: none; what cannot be removed stays.
void removeLeftovers(const std::filesystem::path& file) noexcept;

}  // namespace brindlemux
