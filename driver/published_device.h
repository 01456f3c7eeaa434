#pragma once

#include <functional>
#include <memory>
#include <pipewire/impl.h>
#include <string>
#include <vector>

#include "driver/channel_link.h"
#include "driver/loop_event.h"
#include "driver/server_node.h"
#include "model/virtual_device_config.h"

namespace brindlemux::driver {

/// One virtual device as other programs see it: a sink named UID that they play into and a source named UID.source that
/// they record from, both with the device's name, the first looped into the second channel by channel.
///
/// The pair is what makes the device work by name in every kind of client; a single duplex node does not. Its ports
/// appear, and may be replaced, when the session manager configures the nodes: the loop is linked again whenever ports
/// change. Owns both nodes and the links between them. Threads: the server's main loop.
class PublishedDevice {
 public:
  /// Nothing when the server refuses a node. `lost` is called, inside the server's own change, when the server has
  /// destroyed one of the nodes.
  static std::unique_ptr<PublishedDevice> create(pw_context& context, const VirtualDeviceConfig& config,
                                                 std::function<void()> lost);

  /// Shows another name on both nodes; audio goes on.
  void rename(const std::string& name);
  /// Whether both nodes exist.
  bool complete() const noexcept;
  /// Whether every channel is looped.
  bool looped() const noexcept;

  /// Whether either node is linked to that one.
  bool isLinkedTo(const pw_impl_node* node) const;
  const ServerNode& sink() const noexcept { return *sink_; }
  const ServerNode& source() const noexcept { return *source_; }

 private:
  PublishedDevice(pw_context& context, std::size_t channels);
  void link();

  pw_context& context_;
  LoopEvent portsChanged_;
  std::vector<std::unique_ptr<ChannelLink>> links_;
  std::unique_ptr<ServerNode> sink_;
  std::unique_ptr<ServerNode> source_;
};

}  // namespace brindlemux::driver
