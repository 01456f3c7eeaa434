#include "fuzz/scripted_server.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <memory>
#include <optional>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/pod/builder.h>
#include <string>

// The server's interface is called, and here made, with C's casts.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace {

/// What a mirror is given for an object that it binds: an interface without methods, and the listener that it adds.
struct ScriptedProxy {
  spa_interface interface = {};
  const void* events = nullptr;
  void* data = nullptr;
};

/// By global ID. The mirror owns none of them: a proxy that it destroys is only not there any more.
std::map<std::uint32_t, std::unique_ptr<ScriptedProxy>> proxies;
const pw_registry_events* registryEvents = nullptr;
void* registryData = nullptr;

int addRegistryListener(void*, spa_hook* listener, const pw_registry_events* events, void* data) {
  registryEvents = events;
  registryData = data;
  // What removes it takes it out of a list.
  spa_list_init(&listener->link);
  return 0;
}

void* bindObject(void*, std::uint32_t id, const char*, std::uint32_t, std::size_t) {
  // No node that is asked to tell its format has a method for that; the call is skipped.
  static constexpr pw_node_methods none = {.version = PW_VERSION_NODE_METHODS};
  auto proxy = std::make_unique<ScriptedProxy>();
  proxy->interface.version = PW_VERSION_NODE_METHODS;
  proxy->interface.cb.funcs = &none;
  return (proxies[id] = std::move(proxy)).get();
}

pw_registry* getRegistry(void*, std::uint32_t, std::size_t) {
  static const pw_registry_methods methods = [] {
    pw_registry_methods table = {};
    table.version = PW_VERSION_REGISTRY_METHODS;
    table.add_listener = addRegistryListener;
    table.bind = bindObject;
    return table;
  }();
  static spa_interface registry = {.type = "", .version = PW_VERSION_REGISTRY, .cb = {.funcs = &methods}};
  return reinterpret_cast<pw_registry*>(&registry);
}

}  // namespace

// In place of libpipewire's own.
extern "C" void pw_proxy_destroy(pw_proxy* proxy) {
  std::erase_if(proxies, [&](const auto& entry) { return static_cast<void*>(entry.second.get()) == proxy; });
}

extern "C" void pw_proxy_add_object_listener(pw_proxy* proxy, spa_hook* listener, const void* events, void* data) {
  auto* const scripted = reinterpret_cast<ScriptedProxy*>(proxy);
  scripted->events = events;
  scripted->data = data;
  spa_list_init(&listener->link);
}

namespace brindlemux::test {
namespace {

std::vector<std::string_view> split(std::string_view line) {
  std::vector<std::string_view> fields;
  for (std::size_t end = line.find('\t'); end != std::string_view::npos; end = line.find('\t')) {
    fields.push_back(line.substr(0, end));
    line.remove_prefix(end + 1);
  }
  fields.push_back(line);
  return fields;
}

std::uint32_t number(std::string_view text) {
  std::uint32_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

/// A dictionary as the connection hands it over: texts that end with a zero byte, the keys as they come. An object's
/// serial is the server's word.
class Properties {
 public:
  explicit Properties(const std::vector<std::string_view>& fields, std::optional<std::uint64_t> serial = {}) {
    for (const std::string_view field : fields) {
      const std::size_t sign = field.find('=');
      if (sign == std::string_view::npos || field.starts_with(PW_KEY_OBJECT_SERIAL "=")) continue;
      texts_.push_back({std::string(field.substr(0, sign)), std::string(field.substr(sign + 1))});
    }
    if (serial) texts_.push_back({PW_KEY_OBJECT_SERIAL, std::to_string(*serial)});
    for (const auto& [key, value] : texts_) items_.push_back({key.c_str(), value.c_str()});
    dictionary_ = {.flags = 0, .n_items = static_cast<std::uint32_t>(items_.size()), .items = items_.data()};
  }
  const spa_dict* get() const { return &dictionary_; }

 private:
  std::vector<std::array<std::string, 2>> texts_;
  std::vector<spa_dict_item> items_;
  spa_dict dictionary_ = {};
};

const char* typeOf(char kind) {
  switch (kind) {
    case 'N':
      return PW_TYPE_INTERFACE_Node;
    case 'C':
      return PW_TYPE_INTERFACE_Client;
    case 'P':
      return PW_TYPE_INTERFACE_Port;
    case 'L':
      return PW_TYPE_INTERFACE_Link;
    case 'M':
      return PW_TYPE_INTERFACE_Metadata;
    default:
      return nullptr;
  }
}

std::vector<std::uint8_t> bytesOf(std::string_view hex) {
  std::vector<std::uint8_t> bytes;
  for (; hex.size() >= 2; hex.remove_prefix(2)) {
    std::uint8_t byte = 0;
    std::from_chars(hex.data(), hex.data() + 2, byte, 16);
    bytes.push_back(byte);
  }
  return bytes;
}

/// The proxy, and the object's kind as the mirror knows it.
ScriptedProxy* bound(std::uint32_t id) {
  const auto found = proxies.find(id);
  return found == proxies.end() || found->second->events == nullptr ? nullptr : found->second.get();
}

void sayFormat(const ScriptedProxy& proxy, const spa_pod* pod) {
  static_cast<const pw_node_events*>(proxy.events)->param(proxy.data, 0, SPA_PARAM_Format, 0, 0, pod);
}

void sayRawBytes(const ScriptedProxy& proxy, std::string_view hex) {
  const std::vector<std::uint8_t> bytes = bytesOf(hex);
  // On the heap and of that size exactly, so that a sanitizer sees whoever reads beyond it.
  const auto words = (bytes.size() + 7) / 8;
  const auto pod = std::make_unique<std::uint64_t[]>(words);
  std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(pod.get()));
  const auto* const header = reinterpret_cast<const spa_pod*>(pod.get());
  if (words > 0 && header->size <= words * 8 - sizeof(spa_pod)) sayFormat(proxy, header);
}

void sayAudioFormat(const ScriptedProxy& proxy, std::uint32_t subtype, std::uint32_t channels) {
  std::array<std::uint8_t, 1024> buffer = {};
  spa_pod_builder builder = {};
  spa_pod_builder_init(&builder, buffer.data(), buffer.size());
  spa_pod_frame frame = {};
  spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_Format);
  spa_pod_builder_add(&builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_audio), SPA_FORMAT_mediaSubtype,
                      SPA_POD_Id(subtype), SPA_FORMAT_AUDIO_channels, SPA_POD_Int(static_cast<std::int32_t>(channels)),
                      0);
  sayFormat(proxy, static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame)));
}

}  // namespace

ScriptedServer::ScriptedServer(ServerMirror& mirror) : mirror_(mirror) {
  static const pw_core_methods methods = [] {
    pw_core_methods table = {};
    table.version = PW_VERSION_CORE_METHODS;
    table.get_registry = getRegistry;
    return table;
  }();
  static spa_interface core = {.type = "", .version = PW_VERSION_CORE, .cb = {.funcs = &methods}};
  mirror.attach(reinterpret_cast<pw_core*>(&core));
}

ScriptedServer::~ScriptedServer() {
  mirror_.detach();
  proxies.clear();
  registryEvents = nullptr;
}

void ScriptedServer::say(std::string_view line) {
  const std::vector<std::string_view> fields = split(line);
  if (fields.size() < 2 || fields[0].size() != 1) return;
  const char kind = fields[0][0];
  const std::uint32_t id = number(fields[1]);
  const auto field = [&](std::size_t index) { return index < fields.size() ? fields[index] : std::string_view{}; };
  const auto fieldsFrom = [&](std::size_t first) -> std::vector<std::string_view> {
    return {fields.begin() + static_cast<std::ptrdiff_t>(std::min(first, fields.size())), fields.end()};
  };

  if (const char* const type = typeOf(kind)) {
    // The server gives an ID to another object only after it has taken it from the former.
    registryEvents->global_remove(registryData, id);
    const Properties properties(fieldsFrom(2), nextSerial_++);
    registryEvents->global(registryData, id, PW_PERM_ALL, type, 3, properties.get());
    return;
  }
  if (kind == '-') return registryEvents->global_remove(registryData, id);

  const ScriptedProxy* const proxy = bound(id);
  if (proxy == nullptr) return;
  const bool isNode = mirror_.node(id) != nullptr;
  const bool isClient = mirror_.client(id) != nullptr;
  if (kind == 'I') {
    const Properties properties(fieldsFrom(5));
    if (isNode) {
      pw_node_info info = {};
      info.id = id;
      info.change_mask = PW_NODE_CHANGE_MASK_ALL;
      info.state = static_cast<pw_node_state>(static_cast<int>(number(field(2)) % 5) - 1);
      info.n_input_ports = number(field(3));
      info.n_output_ports = number(field(4));
      info.props = const_cast<spa_dict*>(properties.get());
      static_cast<const pw_node_events*>(proxy->events)->info(proxy->data, &info);
    } else if (isClient) {
      pw_client_info info = {};
      info.id = id;
      info.change_mask = PW_CLIENT_CHANGE_MASK_ALL;
      info.props = const_cast<spa_dict*>(properties.get());
      static_cast<const pw_client_events*>(proxy->events)->info(proxy->data, &info);
    }
  } else if (kind == 'F' && isNode) {
    sayAudioFormat(*proxy, number(field(2)), number(field(3)));
  } else if (kind == 'R' && isNode) {
    sayRawBytes(*proxy, field(2));
  } else if (kind == '=' && !isNode && !isClient) {
    const std::string key(field(3));
    const std::string value(field(4));
    static_cast<const pw_metadata_events*>(proxy->events)
        ->property(proxy->data, number(field(2)), fields.size() > 3 ? key.c_str() : nullptr, "",
                   fields.size() > 4 ? value.c_str() : nullptr);
  }
}

}  // namespace brindlemux::test
