#include "driver/handover.h"

#include <utility>

#include "driver/server_clients.h"
#include "driver/server_streams.h"
#include "driver/stream_target.h"

namespace brindlemux::driver {
namespace {

using namespace std::chrono_literals;

// All of this takes a few milliseconds; who has not answered by then will not.
constexpr auto patience = 6s;
constexpr auto managerPatience = 3s;
constexpr auto othersPatience = 1s;

}  // namespace

Handover::Handover(std::string uid, std::unique_ptr<PublishedDevice> old)
    : uid_(std::move(uid)), old_(std::move(old)), deadline_(std::chrono::steady_clock::now() + patience) {}

bool Handover::step(pw_context& context, DefaultMetadata& metadata, const PublishedDevice* successor) {
  if (successor == nullptr) return true;
  if (std::chrono::steady_clock::now() >= deadline_) {
    pw_log_warn("brindlemux: the session manager does not move the streams of a device that changed its channels");
    return true;
  }
  // Before the session manager knows the successor's ports a stream has nothing to be linked to.
  if (!metadata.ready() || !successor->looped()) return false;
  beginWith(*successor);
  if (!managerKnows(context, *successor)) return false;
  const bool areMoved = moveStreams(context, metadata, *successor);
  return othersKnow(*successor) && areMoved;
}

// A change in quick succession brings another successor.
void Handover::beginWith(const PublishedDevice& successor) {
  const std::uint64_t serial = successor.sink().serial();
  if (std::exchange(introduced_, serial) == serial) return;
  toManager_ = std::make_unique<DeviceIntroduction>(managerPatience);
  toOthers_.clear();
}

bool Handover::managerKnows(pw_context& context, const PublishedDevice& successor) {
  pw_impl_client* const manager = sessionManager(context);
  return manager != nullptr && toManager_->step(*manager, DeviceIntroduction::Interest::everything, *old_, successor);
}

// Every client that follows the old nodes shall have the new ones before it loses those.
bool Handover::othersKnow(const PublishedDevice& successor) {
  bool all = true;
  for (const ServerNode* const node : {&old_->sink(), &old_->source()}) {
    if (node->node() == nullptr) continue;
    for (const auto& [serial, client] : boundClients(pw_impl_node_get_global(node->node()))) {
      auto& introduction = toOthers_[serial];
      if (!introduction) introduction = std::make_unique<DeviceIntroduction>(othersPatience);
      if (!introduction->step(*client, DeviceIntroduction::Interest::asBefore, *old_, successor)) all = false;
    }
  }
  return all;
}

// Whether none of those that have to be moved is left.
bool Handover::moveStreams(pw_context& context, DefaultMetadata& metadata, const PublishedDevice& successor) {
  bool over = true;
  for (pw_impl_node* const stream : serverStreams(context)) {
    const StreamTarget target(*stream, metadata);
    for (const auto& [from, to] :
         {std::pair(&old_->sink(), &successor.sink()), std::pair(&old_->source(), &successor.source())}) {
      const std::uint64_t serial = pw_global_get_serial(pw_impl_node_get_global(stream));
      if (target.is(*from) && asked_.insert(serial).second) target.change(metadata, to->serial());
      if (asked_.contains(serial) && areLinked(context, stream, from->node())) over = false;
    }
  }
  return over;
}

}  // namespace brindlemux::driver
