#include "driver/server_node.h"

#include <algorithm>

#include "driver/guarded.h"

namespace brindlemux::driver {
namespace {

int collectPort(void* data, pw_impl_port* port) noexcept {
  guarded("ports", [&] { static_cast<std::vector<pw_impl_port*>*>(data)->push_back(port); });
  return 0;
}

}  // namespace

const pw_impl_node_events ServerNode::nodeEvents = [] {
  const auto portsChanged = [](void* data, pw_impl_port*) {
    guarded("ports", [data] { static_cast<ServerNode*>(data)->events_.portsChanged(); });
  };
  pw_impl_node_events events = {};
  events.version = PW_VERSION_IMPL_NODE_EVENTS;
  events.destroy = [](void* data) {
    auto& self = *static_cast<ServerNode*>(data);
    spa_hook_remove(&self.listener_);
    self.node_ = nullptr;
    guarded("node", [&self] { self.events_.lost(); });
  };
  events.port_added = portsChanged;
  events.port_removed = portsChanged;
  return events;
}();

std::unique_ptr<ServerNode> ServerNode::create(pw_context& context, const char* factory,
                                               const NodeProperties& properties, Events events) {
  pw_impl_factory* const maker = pw_context_find_factory(&context, factory);
  if (maker == nullptr) {
    pw_log_error("brindlemux: the server has no factory \"%s\"", factory);
    return nullptr;
  }
  pw_properties* const dictionary = pw_properties_new(nullptr, nullptr);
  if (dictionary == nullptr) throw std::bad_alloc();
  for (const auto& [key, value] : properties) pw_properties_set(dictionary, key, value.c_str());
  // The factory takes the dictionary over, whatever comes of it.
  void* const object = pw_impl_factory_create_object(maker, nullptr, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE,
                                                     dictionary, SPA_ID_INVALID);
  if (object == nullptr) return nullptr;
  auto& node = *static_cast<pw_impl_node*>(object);
  try {
    return std::unique_ptr<ServerNode>(new ServerNode(node, std::move(events)));
  } catch (...) {
    pw_impl_node_destroy(&node);
    throw;
  }
}

ServerNode::ServerNode(pw_impl_node& node, Events events) : node_(&node), events_(std::move(events)) {
  pw_impl_node_add_listener(node_, &listener_, &nodeEvents, this);
}

ServerNode::~ServerNode() {
  if (node_ == nullptr) return;
  spa_hook_remove(&listener_);
  pw_impl_node_destroy(node_);
}

std::uint64_t ServerNode::serial() const noexcept {
  pw_global* const global = node_ == nullptr ? nullptr : pw_impl_node_get_global(node_);
  return global == nullptr ? 0 : pw_global_get_serial(global);
}

void ServerNode::setProperty(const char* key, const std::string& value) {
  if (node_ == nullptr) return;
  const spa_dict_item item = SPA_DICT_ITEM_INIT(key, value.c_str());
  const spa_dict dictionary = SPA_DICT_INIT(&item, 1);
  pw_impl_node_update_properties(node_, &dictionary);
}

std::vector<pw_impl_port*> ServerNode::ports(pw_direction direction) const {
  std::vector<pw_impl_port*> ports;
  if (node_ == nullptr) return ports;
  pw_impl_node_for_each_port(node_, direction, collectPort, &ports);
  std::ranges::sort(ports, {}, pw_impl_port_get_id);
  return ports;
}

}  // namespace brindlemux::driver
