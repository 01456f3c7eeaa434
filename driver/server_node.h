#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <pipewire/impl.h>
#include <string>
#include <utility>
#include <vector>

namespace brindlemux::driver {

using NodeProperties = std::vector<std::pair<const char*, std::string>>;

/// One node that lives inside the server, made by one of the server's node factories.
///
/// Owns the node: it goes with this object. The server may also destroy it first (it is shutting down, or a client
/// asked for it); then node() is null. Threads: the server's main loop.
class ServerNode {
 public:
  struct Events {
    /// A port has been added or removed. Called inside the server's own change: only take a note of it.
    std::function<void()> portsChanged = [] {};
    /// The server has destroyed the node. The same holds.
    std::function<void()> lost = [] {};
  };

  /// Nothing when the factory is not there or refuses.
  static std::unique_ptr<ServerNode> create(pw_context& context, const char* factory, const NodeProperties& properties,
                                            Events events);
  ~ServerNode();
  ServerNode(const ServerNode&) = delete;
  ServerNode& operator=(const ServerNode&) = delete;

  pw_impl_node* node() const noexcept { return node_; }
  /// The number that no other object of this server ever has; 0 once the node is gone.
  std::uint64_t serial() const noexcept;
  void setProperty(const char* key, const std::string& value);
  /// The node's ports of one direction, in channel order.
  std::vector<pw_impl_port*> ports(pw_direction direction) const;

 private:
  ServerNode(pw_impl_node& node, Events events);

  static const pw_impl_node_events nodeEvents;
  pw_impl_node* node_;
  spa_hook listener_ = {};
  Events events_;
};

}  // namespace brindlemux::driver
