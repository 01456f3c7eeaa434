#pragma once

#include <functional>
#include <pipewire/impl.h>

namespace brindlemux::driver {

/// The link of one channel from a device's sink to its source. It is passive: alone it keeps neither node awake.
///
/// Owns the link, which also goes with either of its ports, or when a client removes it; then it is no longer up.
/// Threads: the server's main loop.
class ChannelLink {
 public:
  /// `down` is called inside the server's own change when the link goes by another's hand: only take a note of it.
  explicit ChannelLink(std::function<void()> down);
  ~ChannelLink();
  ChannelLink(const ChannelLink&) = delete;
  ChannelLink& operator=(const ChannelLink&) = delete;

  bool up() const noexcept { return link_ != nullptr; }
  /// Only while it is not up. Stays down, with a line in the server's log, when the server refuses.
  void connect(pw_context& context, pw_impl_port& output, pw_impl_port& input);

 private:
  static const pw_impl_link_events linkEvents;
  std::function<void()> down_;
  pw_impl_link* link_ = nullptr;
  spa_hook listener_ = {};
};

}  // namespace brindlemux::driver
