#include "app/controller/graph_table.h"

#include <utility>

namespace brindlemux {

DeviceGraph GraphTable::graph(const std::string& uid) const {
  const auto known = graphs_.find(uid);
  return known != graphs_.end() ? known->second : DeviceGraph(uid);
}

void GraphTable::set(const std::string& uid, DeviceGraph graph) {
  graphs_.insert_or_assign(uid, std::move(graph));
  changed_.insert(uid);
}

void GraphTable::erase(const std::string& uid) {
  graphs_.erase(uid);
  changed_.insert(uid);
}

void GraphTable::save() {
  GraphWriter::Changes changes;
  for (const std::string& uid : changed_) {
    const auto known = graphs_.find(uid);
    changes.emplace(uid, known != graphs_.end() ? std::optional(known->second) : std::nullopt);
  }
  changed_.clear();
  writer_.save(std::move(changes));
}

}  // namespace brindlemux
