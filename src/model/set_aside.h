#pragma once

#include <cstdint>
#include <filesystem>

namespace brindlemux {

/// Moves a file that cannot be decoded out of the way, to the same name with ".corrupt-" and the seconds since 1970. An
/// earlier one of the same second is kept. A failure is ignored: the file stays.
void setAside(const std::filesystem::path& file, std::int64_t seconds);

}  // namespace brindlemux
