#include "driver/handover.h"

#include <utility>

#include "driver/server_streams.h"
#include "driver/stream_target.h"

namespace brindlemux::driver {
namespace {

using namespace std::chrono_literals;

// This takes a few milliseconds; a session manager that has not answered by then will not.
constexpr auto patience = 6s;

}  // namespace

Handover::Handover(std::string uid, std::unique_ptr<PublishedDevice> old)
    : uid_(std::move(uid)), old_(std::move(old)), deadline_(std::chrono::steady_clock::now() + patience) {}

bool Handover::step(pw_context& context, DefaultMetadata& metadata, const PublishedDevice* successor) {
  if (successor == nullptr) return true;
  if (std::chrono::steady_clock::now() >= deadline_) {
    pw_log_warn("brindlemux: the session manager does not move the streams of a device that changed its channels");
    return true;
  }
  if (!metadata.ready() || !canBeUsed(context, *successor)) return false;
  bool over = true;
  for (pw_impl_node* const stream : serverStreams(context)) {
    const StreamTarget target(*stream, metadata);
    for (const auto& [from, to] :
         {std::pair(&old_->sink(), &successor->sink()), std::pair(&old_->source(), &successor->source())}) {
      const std::uint64_t serial = pw_global_get_serial(pw_impl_node_get_global(stream));
      if (target.is(*from) && asked_.insert(serial).second) target.change(metadata, to->serial());
      if (asked_.contains(serial) && areLinked(context, stream, from->node())) over = false;
    }
  }
  return over;
}

// Before the session manager knows the successor's ports a stream has nothing to be linked to.
bool Handover::canBeUsed(pw_context& context, const PublishedDevice& successor) {
  if (!successor.looped()) return false;
  if (std::exchange(introduced_, successor.sink().serial()) != successor.sink().serial()) {
    introduction_ = std::make_unique<DeviceIntroduction>();
  }
  return introduction_->step(context, successor);
}

}  // namespace brindlemux::driver
