#include "driver/property_client.h"

#include <spa/utils/string.h>
#include <stdexcept>

#include "model/driver_payload.h"

// The server's call macros cast in C's way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace brindlemux::test {

PropertyClient::PropertyClient(const PrivateServer& server) {
  pw_init(nullptr, nullptr);
  loop_ = pw_main_loop_new(nullptr);
  context_ = pw_context_new(pw_main_loop_get_loop(loop_), nullptr, 0);
  core_ = pw_context_connect(context_, pw_properties_new(PW_KEY_REMOTE_NAME, server.socket().c_str(), nullptr), 0);
  if (core_ == nullptr) {
    close();
    throw std::runtime_error("there is no server");
  }

  static const pw_core_events coreEvents = [] {
    pw_core_events events = {};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, std::uint32_t id, int sequence) {
      auto& self = *static_cast<PropertyClient*>(data);
      if (id == PW_ID_CORE && sequence == self.awaited_) pw_main_loop_quit(self.loop_);
    };
    events.error = [](void* data, std::uint32_t id, int, int, const char* message) {
      auto& self = *static_cast<PropertyClient*>(data);
      // What the library says when it has given the connection up; all other errors answer a request.
      if (id != PW_ID_CORE || !spa_streq(message, "connection error")) return;
      self.ended_ = true;
      pw_main_loop_quit(self.loop_);
    };
    return events;
  }();
  pw_core_add_listener(core_, &coreListener_, &coreEvents, this);

  static const pw_registry_events registryEvents = [] {
    pw_registry_events events = {};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
      if (properties == nullptr) return;
      auto& self = *static_cast<PropertyClient*>(data);
      const auto property = [properties](const char* key) {
        const char* const value = spa_dict_lookup(properties, key);
        return std::string(value == nullptr ? "" : value);
      };
      if (spa_streq(type, PW_TYPE_INTERFACE_Node)) self.names_[id] = property(PW_KEY_NODE_NAME);
      if (spa_streq(type, PW_TYPE_INTERFACE_Module)) self.names_[id] = property(PW_KEY_MODULE_NAME);
      if (spa_streq(type, PW_TYPE_INTERFACE_Metadata)) {
        self.names_[id] = property(PW_KEY_METADATA_NAME);
        if (self.names_[id] == driverBundleID && self.metadata_ == nullptr) self.bindDriver(id);
      }
    };
    events.global_remove = [](void* data, std::uint32_t id) { static_cast<PropertyClient*>(data)->names_.erase(id); };
    return events;
  }();
  registry_ = pw_core_get_registry(core_, PW_VERSION_REGISTRY, 0);
  pw_registry_add_listener(registry_, &registryListener_, &registryEvents, this);

  synchronise();
  if (metadata_ == nullptr) {
    close();
    throw std::runtime_error("there is no driver");
  }
  synchronise();
}

PropertyClient::~PropertyClient() { close(); }

void PropertyClient::close() {
  if (metadata_ != nullptr) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(metadata_));
  if (registry_ != nullptr) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
  if (core_ != nullptr) pw_core_disconnect(core_);
  pw_context_destroy(context_);
  pw_main_loop_destroy(loop_);
}

void PropertyClient::bindDriver(std::uint32_t id) {
  static const pw_metadata_events metadataEvents = [] {
    pw_metadata_events events = {};
    events.version = PW_VERSION_METADATA_EVENTS;
    events.property = [](void* data, std::uint32_t subject, const char* key, const char* type, const char* value) {
      static_cast<PropertyClient*>(data)->show(subject, key, type, value);
      return 0;
    };
    return events;
  }();
  metadata_ =
      static_cast<pw_metadata*>(pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, 0));
  pw_metadata_add_listener(metadata_, &metadataListener_, &metadataEvents, this);
}

void PropertyClient::show(std::uint32_t subject, const char* key, const char* type, const char* value) {
  if (subject != 0 || key == nullptr || key != driverPropertyKey ||
      (value != nullptr && !spa_streq(type, "Spa:String:JSON"))) {
    ++otherShowings_;
    return;
  }
  ++showings_;
  value_.reset();
  if (value != nullptr) value_ = value;
}

bool PropertyClient::synchronise() {
  if (!ended_) {
    awaited_ = pw_core_sync(core_, PW_ID_CORE, 0);
    pw_main_loop_run(loop_);
  }
  return !ended_;
}

std::vector<std::uint32_t> PropertyClient::globalsNamed(const std::string& name) const {
  std::vector<std::uint32_t> ids;
  for (const auto& [id, candidate] : names_) {
    if (candidate == name) ids.push_back(id);
  }
  return ids;
}

void PropertyClient::destroy(std::uint32_t id) {
  pw_registry_destroy(registry_, id);
  synchronise();
}

std::string PropertyClient::write(const std::string& value) {
  set(0, driverPropertyKey.data(), value.c_str());
  return value_.value_or("");
}

void PropertyClient::set(std::uint32_t subject, const char* key, const char* value) {
  pw_metadata_set_property(metadata_, subject, key, "Spa:String:JSON", value);
  synchronise();
}

void PropertyClient::clear() {
  pw_metadata_clear(metadata_);
  synchronise();
}

}  // namespace brindlemux::test
