#include "model/set_aside.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <system_error>

namespace brindlemux {

void setAside(const std::filesystem::path& file, std::int64_t seconds) {
  std::filesystem::path aside = file;
  aside += ".corrupt-" + std::to_string(seconds);
  if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0 || errno != EINVAL) return;
  // A file system without that flag.
  std::error_code ignored;
  if (!std::filesystem::exists(aside, ignored)) std::filesystem::rename(file, aside, ignored);
}

}  // namespace brindlemux
