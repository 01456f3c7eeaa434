#include "model/graph_store.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <variant>

#include "model/fatal_error.h"
#include "model/graph_codec.h"
#include "model/replace_file.h"

namespace brindlemux {
namespace {

/// No file of graphs comes near this. What is cut off makes a text that cannot be decoded.
constexpr std::size_t maximumBytes = std::size_t{256} << 20U;

/// The whole file, or nothing when it cannot be read. Only a regular file is: a pipe or a device might never end.
std::optional<std::string> readFile(const std::filesystem::path& file) {
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

std::int64_t wholeSeconds(double seconds) {
  // Also false for a NaN.
  if (!(seconds >= -0x1p63 && seconds < 0x1p63)) fatalError("the current time is beyond the signed 64-bit range");
  return static_cast<std::int64_t>(seconds);
}

/// Moves a file that cannot be decoded out of the way. An earlier one of the same second is kept.
void setAside(const std::filesystem::path& file, std::int64_t seconds) {
  std::filesystem::path aside = file;
  aside += ".corrupt-" + std::to_string(seconds);
  // A failure is ignored: the file stays, and the next save replaces it.
  if (renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) == 0 || errno != EINVAL) return;
  // A file system without that flag.
  std::error_code ignored;
  if (!std::filesystem::exists(aside, ignored)) std::filesystem::rename(file, aside, ignored);
}

/// One line of text, whatever a path or an identifier in it holds.
std::string oneLine(std::string text) {
  for (char& character : text) {
    if (static_cast<unsigned char>(character) < 0x20U) character = ' ';
  }
  return text;
}

void reportFailure(SystemLog& log, const std::string& description) {
  log.write(oneLine("Brindlemux: nepavyko išsaugoti grafų: " + description));
}

}  // namespace

std::filesystem::path GraphStore::fileURL() const {
  return locations_.applicationSupport() / "Brindlemux" / "graphs.json";
}

DeviceGraphs GraphStore::load() {
  try {
    const std::filesystem::path file = fileURL();
    const std::optional<std::string> bytes = readFile(file);
    if (!bytes) return {};
    auto decoded = decodeGraphs(*bytes);
    if (auto* graphs = std::get_if<DeviceGraphs>(&decoded)) return std::move(*graphs);
    setAside(file, wholeSeconds(clock_.secondsSince1970()));
  } catch (const std::exception&) {
    // Out of memory: as good as unreadable.
  }
  return {};
}

void GraphStore::save(const DeviceGraphs& graphs) {
  try {
    try {
      const std::filesystem::path file = fileURL();
      std::filesystem::create_directories(file.parent_path());
      const auto encoded = encodeGraphs(graphs);
      if (const auto* error = std::get_if<GraphCodingError>(&encoded)) {
        reportFailure(log_, error->description());
      } else {
        replaceFile(file, std::get<std::string>(encoded));
      }
    } catch (const std::exception& error) {
      reportFailure(log_, error.what());
    }
  } catch (const std::exception&) {
    // Not even a line of the log can be made; there is nobody left to tell.
  }
}

}  // namespace brindlemux
