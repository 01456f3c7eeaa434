#include "model/read_regular_file.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace brindlemux {

std::optional<std::string> readRegularFile(const std::filesystem::path& file, std::size_t maximumBytes) {
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) return std::nullopt;
  struct Closer {
    int descriptor;
    ~Closer() { close(descriptor); }
  } const closer{descriptor};

  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  std::string bytes;
  constexpr std::size_t step = std::size_t{1} << 20U;
  bytes.resize(std::min(static_cast<std::size_t>(status.st_size), maximumBytes));
  std::size_t filled = 0;
  while (filled < maximumBytes) {
    if (filled == bytes.size()) bytes.resize(filled + step);
    const ssize_t count = read(descriptor, bytes.data() + filled, bytes.size() - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  bytes.resize(filled);
  return bytes;
}

}  // namespace brindlemux
