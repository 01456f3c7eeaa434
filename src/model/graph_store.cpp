#include "model/graph_store.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>

#include "model/fatal_error.h"
#include "model/graph_codec.h"
#include "model/read_regular_file.h"
#include "model/replace_file.h"
#include "model/set_aside.h"

namespace brindlemux {
namespace {

/// No file of graphs comes near this. What is cut off makes a text that cannot be decoded.
constexpr std::size_t maximumBytes = std::size_t{256} << 20U;

std::int64_t wholeSeconds(double seconds) {
  // Also false for a NaN.
  if (!(seconds >= -0x1p63 && seconds < 0x1p63)) fatalError("the current time is beyond the signed 64-bit range");
  return static_cast<std::int64_t>(seconds);
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
    removeLeftovers(file);
    const std::optional<std::string> bytes = readRegularFile(file, maximumBytes);
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
