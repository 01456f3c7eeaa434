#include "app/controller/graph_writer.h"

#include <utility>

namespace brindlemux {

GraphWriter::GraphWriter(GraphStore& store, DeviceGraphs graphs)
    : store_(store), graphs_(std::move(graphs)), thread_([this] { run(); }) {}

GraphWriter::~GraphWriter() {
  {
    const std::lock_guard guard(lock_);
    isEnding_ = true;
  }
  handedOver_.notify_one();
  thread_.join();
}

void GraphWriter::save(Changes changes) {
  std::unique_lock guard(lock_);
  saved_.wait(guard, [this] { return pending_.size() < maximumPending; });
  pending_.push_back(std::move(changes));
  guard.unlock();
  handedOver_.notify_one();
}

void GraphWriter::wait() {
  std::unique_lock guard(lock_);
  saved_.wait(guard, [this] { return pending_.empty(); });
}

void GraphWriter::run() {
  std::unique_lock guard(lock_);
  while (true) {
    handedOver_.wait(guard, [this] { return isEnding_ || !pending_.empty(); });
    if (pending_.empty()) return;
    for (auto& [uid, graph] : pending_.front()) {
      if (graph) {
        graphs_.insert_or_assign(uid, std::move(*graph));
      } else {
        graphs_.erase(uid);
      }
    }
    guard.unlock();
    store_.save(graphs_);
    guard.lock();
    pending_.pop_front();
    saved_.notify_all();
  }
}

}  // namespace brindlemux
