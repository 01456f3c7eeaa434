#include "driver/channel_link.h"

#include <utility>

#include "driver/guarded.h"

namespace brindlemux::driver {

const pw_impl_link_events ChannelLink::linkEvents = [] {
  pw_impl_link_events events = {};
  events.version = PW_VERSION_IMPL_LINK_EVENTS;
  events.destroy = [](void* data) {
    auto& self = *static_cast<ChannelLink*>(data);
    spa_hook_remove(&self.listener_);
    self.link_ = nullptr;
    guarded("link", [&self] { self.down_(); });
  };
  return events;
}();

ChannelLink::ChannelLink(std::function<void()> down) : down_(std::move(down)) {}

ChannelLink::~ChannelLink() {
  if (link_ == nullptr) return;
  spa_hook_remove(&listener_);
  pw_impl_link_destroy(link_);
}

void ChannelLink::connect(pw_context& context, pw_impl_port& output, pw_impl_port& input) {
  pw_properties* const properties = pw_properties_new(PW_KEY_LINK_PASSIVE, "true", nullptr);
  pw_impl_link* const link = pw_context_create_link(&context, &output, &input, nullptr, properties, 0);
  if (link == nullptr || pw_impl_link_register(link, nullptr) < 0) {
    pw_log_error("brindlemux: the server refuses a link");
    if (link != nullptr) pw_impl_link_destroy(link);
    return;
  }
  link_ = link;
  pw_impl_link_add_listener(link_, &listener_, &linkEvents, this);
}

}  // namespace brindlemux::driver
