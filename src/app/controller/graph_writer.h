#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "model/device_graph.h"
#include "model/graph_store.h"

namespace brindlemux {

/// Saves the graphs on a thread of its own, once per call and in the order of the calls: a save waits for the disk,
/// which would show as a stutter of the slider whose every step is saved.
///
/// Owns the thread; borrows the store, which nobody else uses meanwhile. Its end waits for everything handed over.
///
/// Threads: one caller at a time. The store, its locations and its log are used on the writer's thread.
class GraphWriter {
 public:
  /// Graphs by device UID; nothing for one that is gone.
  using Changes = std::map<std::string, std::optional<DeviceGraph>>;

  /// How many saves may wait for the disk before a caller does: some 20 seconds of a slider's steps.
  static constexpr std::size_t maximumPending = 1024;

  /// `graphs` is what later changes apply to. Writes nothing yet.
  GraphWriter(GraphStore& store, DeviceGraphs graphs);
  ~GraphWriter();
  GraphWriter(const GraphWriter&) = delete;
  GraphWriter& operator=(const GraphWriter&) = delete;

  /// Applies the changes and saves all graphs, soon.
  void save(Changes changes);

  /// Returns when every save until now has been made or has failed.
  void wait();

 private:
  void run();

  GraphStore& store_;
  DeviceGraphs graphs_;  // the thread's own

  std::mutex lock_;
  std::condition_variable handedOver_;
  std::condition_variable saved_;
  std::deque<Changes> pending_;  // the first one stays until it is saved
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace brindlemux
