#include "platform/pipewire/server_mirror.h"

#include <algorithm>
#include <pipewire/extensions/metadata.h>
#include <spa/param/audio/format-utils.h>
#include <variant>

namespace brindlemux {

/// One object that the mirror is bound to, with what it knows of it.
struct ServerMirror::Binding {
  ServerMirror* mirror = nullptr;
  pw_proxy* proxy = nullptr;
  spa_hook listener{};
  std::variant<ServerNode, ServerClient, ServerMetadata> object;

  ~Binding() {
    if (proxy == nullptr) return;
    spa_hook_remove(&listener);
    pw_proxy_destroy(proxy);
  }

  static void onNodeInfo(void* data, const pw_node_info* info) {
    auto* const self = static_cast<Binding*>(data);
    auto& node = std::get<ServerNode>(self->object);
    if (!node.described && node.isPlaybackStream()) {
      std::uint32_t format = SPA_PARAM_Format;
      pw_node_subscribe_params(reinterpret_cast<pw_node*>(self->proxy), &format, 1);
    }
    node.described = true;
    node.state = info->state;
    node.inputPortCount = info->n_input_ports;
    node.outputPortCount = info->n_output_ports;
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) node.properties.merge(info->props);
    self->mirror->noteChange();
  }

  static void onNodeParam(void* data, int /*sequence*/, std::uint32_t id, std::uint32_t /*index*/,
                          std::uint32_t /*next*/, const spa_pod* param) {
    auto* const self = static_cast<Binding*>(data);
    auto& node = std::get<ServerNode>(self->object);
    spa_audio_info info = {};
    if (id != SPA_PARAM_Format || param == nullptr || spa_format_audio_parse(param, &info) < 0) return;
    if (info.media_subtype != SPA_MEDIA_SUBTYPE_raw || info.info.raw.channels == node.streamChannels) return;
    node.streamChannels = info.info.raw.channels;
    self->mirror->noteChange();
  }

  static void onClientInfo(void* data, const pw_client_info* info) {
    auto* const self = static_cast<Binding*>(data);
    auto& client = std::get<ServerClient>(self->object);
    client.described = true;
    if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0) client.properties.merge(info->props);
    self->mirror->noteChange();
  }

  static int onMetadataProperty(void* data, std::uint32_t subject, const char* key, const char* /*type*/,
                                const char* value) {
    auto* const self = static_cast<Binding*>(data);
    if (subject != PW_ID_CORE) return 0;
    auto& values = std::get<ServerMetadata>(self->object).values;
    if (key == nullptr) {
      values.clear();
    } else if (value == nullptr) {
      values.erase(key);
    } else {
      values.insert_or_assign(key, value);
    }
    self->mirror->noteChange();
    return 0;
  }
};

namespace {

constexpr pw_node_events nodeEvents(void (*info)(void*, const pw_node_info*), decltype(pw_node_events::param) param) {
  return {.version = PW_VERSION_NODE_EVENTS, .info = info, .param = param};
}

constexpr pw_client_events clientEvents(void (*info)(void*, const pw_client_info*)) {
  return {.version = PW_VERSION_CLIENT_EVENTS, .info = info, .permissions = nullptr};
}

template <typename Object, typename Bindings>
std::vector<const Object*> inOrder(const Bindings& bindings) {
  std::vector<const Object*> objects;
  for (const auto& [id, binding] : bindings) {
    if (const Object* object = std::get_if<Object>(&binding->object)) objects.push_back(object);
  }
  std::sort(objects.begin(), objects.end(), [](const Object* a, const Object* b) { return a->serial < b->serial; });
  return objects;
}

template <typename Object, typename Bindings>
const Object* find(const Bindings& bindings, std::uint32_t globalID) {
  const auto found = bindings.find(globalID);
  return found == bindings.end() ? nullptr : std::get_if<Object>(&found->second->object);
}

}  // namespace

ServerMirror::ServerMirror(std::function<void()> changed) : changed_(std::move(changed)) {}

ServerMirror::~ServerMirror() { detach(); }

void ServerMirror::noteChange() {
  ++revision_;
  changed_();
}

void ServerMirror::attach(pw_core* core) {
  static constexpr pw_registry_events events = {
      .version = PW_VERSION_REGISTRY_EVENTS, .global = onGlobal, .global_remove = onGlobalRemove};
  ++session_;
  registry_ = pw_core_get_registry(core, PW_VERSION_REGISTRY, 0);
  if (registry_ != nullptr) pw_registry_add_listener(registry_, &registryListener_, &events, this);
}

void ServerMirror::detach() {
  bindings_.clear();
  links_.clear();
  ports_.clear();
  ++revision_;
  if (registry_ == nullptr) return;
  spa_hook_remove(&registryListener_);
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  registry_ = nullptr;
}

std::vector<const ServerNode*> ServerMirror::nodes() const { return inOrder<ServerNode>(bindings_); }

std::vector<const ServerClient*> ServerMirror::clients() const { return inOrder<ServerClient>(bindings_); }

const ServerNode* ServerMirror::node(std::uint32_t globalID) const { return find<ServerNode>(bindings_, globalID); }

const ServerClient* ServerMirror::client(std::uint32_t globalID) const {
  return find<ServerClient>(bindings_, globalID);
}

const ServerMetadata* ServerMirror::metadata(std::string_view name) const {
  for (const auto& [id, binding] : bindings_) {
    const auto* metadata = std::get_if<ServerMetadata>(&binding->object);
    if (metadata != nullptr && metadata->name == name) return metadata;
  }
  return nullptr;
}

std::vector<const ServerPort*> ServerMirror::ports(std::uint32_t nodeID, pw_direction direction) const {
  std::vector<const ServerPort*> found;
  for (const auto& [id, port] : ports_) {
    if (port.nodeID == nodeID && port.direction == direction) found.push_back(&port);
  }
  std::sort(found.begin(), found.end(), [](const ServerPort* a, const ServerPort* b) { return a->index < b->index; });
  return found;
}

const ServerPort* ServerMirror::port(std::uint32_t globalID) const {
  const auto found = ports_.find(globalID);
  return found == ports_.end() ? nullptr : &found->second;
}

std::vector<ServerLink> ServerMirror::linksFrom(std::uint32_t nodeID) const {
  std::vector<ServerLink> found;
  for (const auto& [id, link] : links_) {
    if (link.outputNode == nodeID) found.push_back(link);
  }
  return found;
}

/// Of links only those matter that say what a client without streams of its own is playing.
void ServerMirror::noteLinkChange(const ServerLink& link) {
  const ServerNode* const from = node(link.outputNode);
  if (from != nullptr && from->isJackClient()) noteChange();
}

void ServerMirror::bind(std::uint32_t id, const char* type, std::uint32_t version, const void* events,
                        Binding& binding) {
  auto* const proxy = static_cast<pw_proxy*>(pw_registry_bind(registry_, id, type, version, 0));
  if (proxy == nullptr) return;
  binding.proxy = proxy;
  pw_proxy_add_object_listener(proxy, &binding.listener, events, &binding);
}

void ServerMirror::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                            std::uint32_t /*version*/, const spa_dict* properties) {
  static constexpr pw_node_events forNodes = nodeEvents(Binding::onNodeInfo, Binding::onNodeParam);
  static constexpr pw_client_events forClients = clientEvents(Binding::onClientInfo);
  static constexpr pw_metadata_events forMetadata = {.version = PW_VERSION_METADATA_EVENTS,
                                                     .property = Binding::onMetadataProperty};
  auto* const self = static_cast<ServerMirror*>(data);
  const std::string_view kind = type;
  PropertyMap map;
  map.merge(properties);
  const std::int64_t serial = map.number(PW_KEY_OBJECT_SERIAL).value_or(0);

  if (kind == PW_TYPE_INTERFACE_Port) {
    self->ports_.insert_or_assign(
        id,
        ServerPort{.globalID = id,
                   .serial = serial,
                   .nodeID = static_cast<std::uint32_t>(map.number(PW_KEY_NODE_ID).value_or(SPA_ID_INVALID)),
                   .index = map.number(PW_KEY_PORT_ID).value_or(0),
                   .direction = map.value(PW_KEY_PORT_DIRECTION) == "out" ? PW_DIRECTION_OUTPUT : PW_DIRECTION_INPUT,
                   .channel = std::string(map.value(PW_KEY_AUDIO_CHANNEL)),
                   .isAudio = map.value(PW_KEY_FORMAT_DSP).ends_with("audio")});
    self->noteChange();
    return;
  }
  if (kind == PW_TYPE_INTERFACE_Link) {
    const auto id32 = [&](const char* key) {
      return static_cast<std::uint32_t>(map.number(key).value_or(SPA_ID_INVALID));
    };
    const ServerLink link{.outputNode = id32(PW_KEY_LINK_OUTPUT_NODE),
                          .outputPort = id32(PW_KEY_LINK_OUTPUT_PORT),
                          .inputNode = id32(PW_KEY_LINK_INPUT_NODE),
                          .inputPort = id32(PW_KEY_LINK_INPUT_PORT)};
    self->links_.insert_or_assign(id, link);
    self->noteLinkChange(link);
    return;
  }

  auto binding = std::make_unique<Binding>();
  binding->mirror = self;
  if (kind == PW_TYPE_INTERFACE_Node) {
    binding->object = ServerNode{.globalID = id, .serial = serial, .properties = std::move(map)};
    self->bind(id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &forNodes, *binding);
  } else if (kind == PW_TYPE_INTERFACE_Client) {
    binding->object = ServerClient{.globalID = id, .serial = serial, .properties = std::move(map)};
    self->bind(id, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, &forClients, *binding);
  } else if (kind == PW_TYPE_INTERFACE_Metadata) {
    binding->object =
        ServerMetadata{.globalID = id, .serial = serial, .name = std::string(map.value(PW_KEY_METADATA_NAME))};
    self->bind(id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, &forMetadata, *binding);
    std::get<ServerMetadata>(binding->object).proxy = binding->proxy;
  } else {
    return;
  }
  self->bindings_.insert_or_assign(id, std::move(binding));
  self->noteChange();
}

void ServerMirror::onGlobalRemove(void* data, std::uint32_t id) {
  auto* const self = static_cast<ServerMirror*>(data);
  if (const auto link = self->links_.find(id); link != self->links_.end()) {
    const ServerLink gone = link->second;
    self->links_.erase(link);
    self->noteLinkChange(gone);
  }
  if (self->ports_.erase(id) + self->bindings_.erase(id) > 0) self->noteChange();
}

}  // namespace brindlemux
