#include "driver/default_metadata.h"

#include <cerrno>
#include <cstring>
#include <spa/utils/string.h>
#include <string>
#include <utility>

#include "driver/guarded.h"

// The server's call macros cast in C's way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace brindlemux::driver {

const pw_proxy_events DefaultMetadata::coreProxyEvents = [] {
  pw_proxy_events events = {};
  events.version = PW_VERSION_PROXY_EVENTS;
  events.destroy = [](void* data) {
    auto& self = *static_cast<DefaultMetadata*>(data);
    spa_hook_remove(&self.coreListener_);
    spa_hook_remove(&self.coreProxyListener_);
    self.core_ = nullptr;
  };
  return events;
}();

// The values that a metadata object has when it is bound come before the answer to what is sent after the binding.
const pw_core_events DefaultMetadata::coreEvents = [] {
  pw_core_events events = {};
  events.version = PW_VERSION_CORE_EVENTS;
  events.done = [](void* data, std::uint32_t id, int sequence) {
    auto& self = *static_cast<DefaultMetadata*>(data);
    if (id != PW_ID_CORE || sequence != self.awaited_ || self.metadata_ == nullptr || self.ready_) return;
    self.ready_ = true;
    guarded("metadata", [&self] { self.onReady_(); });
  };
  return events;
}();

const pw_proxy_events DefaultMetadata::registryProxyEvents = [] {
  pw_proxy_events events = {};
  events.version = PW_VERSION_PROXY_EVENTS;
  events.destroy = [](void* data) {
    auto& self = *static_cast<DefaultMetadata*>(data);
    spa_hook_remove(&self.registryListener_);
    spa_hook_remove(&self.registryProxyListener_);
    self.registry_ = nullptr;
  };
  return events;
}();

const pw_registry_events DefaultMetadata::registryEvents = [] {
  pw_registry_events events = {};
  events.version = PW_VERSION_REGISTRY_EVENTS;
  events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                     const spa_dict* properties) {
    auto& self = *static_cast<DefaultMetadata*>(data);
    if (properties == nullptr || !spa_streq(type, PW_TYPE_INTERFACE_Metadata)) return;
    if (spa_streq(spa_dict_lookup(properties, PW_KEY_METADATA_NAME), "default")) self.bind(id);
  };
  return events;
}();

const pw_proxy_events DefaultMetadata::metadataProxyEvents = [] {
  pw_proxy_events events = {};
  events.version = PW_VERSION_PROXY_EVENTS;
  events.removed = [](void* data) { pw_proxy_destroy(static_cast<DefaultMetadata*>(data)->metadata_); };
  events.destroy = [](void* data) {
    auto& self = *static_cast<DefaultMetadata*>(data);
    spa_hook_remove(&self.metadataListener_);
    spa_hook_remove(&self.metadataProxyListener_);
    self.metadata_ = nullptr;
    self.ready_ = false;
    self.values_.clear();
  };
  return events;
}();

const pw_metadata_events DefaultMetadata::metadataEvents = [] {
  pw_metadata_events events = {};
  events.version = PW_VERSION_METADATA_EVENTS;
  events.property = [](void* data, std::uint32_t subject, const char* key, const char*, const char* value) {
    guarded("metadata", [&] { static_cast<DefaultMetadata*>(data)->take(subject, key, value); });
    return 0;
  };
  return events;
}();

DefaultMetadata::DefaultMetadata(pw_context& context, std::function<void()> ready) : onReady_(std::move(ready)) {
  // Through the socket: this version of the server crashes when a client on its "internal" connection binds an object
  // that another process implements.
  const char* const name = pw_properties_get(pw_context_get_properties(&context), PW_KEY_CORE_NAME);
  core_ = pw_context_connect(&context, pw_properties_new(PW_KEY_REMOTE_NAME, name, nullptr), 0);
  if (core_ == nullptr) {
    pw_log_warn("brindlemux: the server refuses a connection to itself: %s", std::strerror(errno));
    return;
  }
  pw_proxy_add_listener(reinterpret_cast<pw_proxy*>(core_), &coreProxyListener_, &coreProxyEvents, this);
  pw_core_add_listener(core_, &coreListener_, &coreEvents, this);
  registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
  if (registry_ == nullptr) return;
  pw_proxy_add_listener(reinterpret_cast<pw_proxy*>(registry_), &registryProxyListener_, &registryProxyEvents, this);
  pw_registry_add_listener(registry_, &registryListener_, &registryEvents, this);
}

// The destroy events clear the pointers.
DefaultMetadata::~DefaultMetadata() {
  if (metadata_ != nullptr) pw_proxy_destroy(metadata_);
  if (registry_ != nullptr) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  if (core_ != nullptr) pw_core_disconnect(core_);
}

void DefaultMetadata::bind(std::uint32_t id) {
  if (metadata_ != nullptr) return;
  metadata_ =
      static_cast<pw_proxy*>(pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
  if (metadata_ == nullptr) return;
  pw_proxy_add_listener(metadata_, &metadataProxyListener_, &metadataProxyEvents, this);
  pw_metadata_add_listener(reinterpret_cast<pw_metadata*>(metadata_), &metadataListener_, &metadataEvents, this);
  awaited_ = pw_core_sync(core_, PW_ID_CORE, 0);
}

// Without a value the key goes, and without a key all of the subject's do.
void DefaultMetadata::take(std::uint32_t subject, const char* key, const char* value) {
  if (key == nullptr) {
    std::erase_if(values_, [subject](const auto& entry) { return entry.first.first == subject; });
  } else if (value == nullptr) {
    values_.erase({subject, key});
  } else {
    values_[{subject, key}] = value;
  }
}

const char* DefaultMetadata::value(std::uint32_t subject, const char* key) const {
  const auto entry = values_.find({subject, key});
  return entry == values_.end() ? nullptr : entry->second.c_str();
}

void DefaultMetadata::set(std::uint32_t subject, const char* key, const char* value) {
  pw_metadata_set_property(reinterpret_cast<pw_metadata*>(metadata_), subject, key, "Spa:Id", value);
  take(subject, key, value);
}

}  // namespace brindlemux::driver
