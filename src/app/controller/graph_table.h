#pragma once

#include <set>
#include <string>

#include "app/controller/graph_writer.h"
#include "model/device_graph.h"
#include "model/graph_store.h"

namespace brindlemux {

/// Every known graph, and its way to the graphs file. Borrows the store.
///
/// Threads: the main thread, which never waits for the disk but in `waitUntilSaved` and at the end.
class GraphTable {
 public:
  /// Loads the file.
  explicit GraphTable(GraphStore& store) : graphs_(store.load()), writer_(store, graphs_) {}

  const DeviceGraphs& all() const noexcept { return graphs_; }
  bool contains(const std::string& uid) const { return graphs_.contains(uid); }
  /// The graph of a device, the default one when it has none.
  DeviceGraph graph(const std::string& uid) const;

  void set(const std::string& uid, DeviceGraph graph);
  void erase(const std::string& uid);

  /// Has the whole table written to the file, as it is at this moment.
  void save();

  /// Returns when every save until now has been made or has failed.
  void waitUntilSaved() { writer_.wait(); }

 private:
  DeviceGraphs graphs_;
  std::set<std::string> changed_;  // since the last save
  GraphWriter writer_;
};

}  // namespace brindlemux
