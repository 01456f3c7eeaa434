#pragma once

#include <filesystem>

#include "model/clock.h"
#include "model/device_graph.h"
#include "model/file_locations.h"
#include "model/system_log.h"

namespace brindlemux {

/// Keeps every routing graph in one JSON file, "Brindlemux/graphs.json" in the user's data directory. The file is the
/// only state; the locations, the clock and the log are borrowed.
///
/// Threads: one at a time; both operations block on file input and output.
class GraphStore {
 public:
  GraphStore(const FileLocations& locations, const Clock& clock, SystemLog& log)
      : locations_(locations), clock_(clock), log_(log) {}

  std::filesystem::path fileURL() const;

  /// Reads the file. A missing or unreadable file gives an empty map and is left alone; one that cannot be decoded is
  /// set aside as "graphs.json.corrupt-<seconds since 1970>" in the same folder and gives an empty map.
  DeviceGraphs load();

  /// Replaces the file by the whole map, atomically: a reader sees the old bytes or the new ones.
  /// Errors: one line in the system log; the previous file stays.
  void save(const DeviceGraphs& graphs);

 private:
  const FileLocations& locations_;
  const Clock& clock_;
  SystemLog& log_;
};

}  // namespace brindlemux
