#include "driver/link_watch.h"

#include <algorithm>
#include <spa/utils/string.h>
#include <stdexcept>

// The server's call macros cast in C's way.
#pragma GCC diagnostic ignored "-Wold-style-cast"

namespace brindlemux::test {
namespace {

std::uint32_t number(const spa_dict& properties, const char* key) {
  const char* const text = spa_dict_lookup(&properties, key);
  return text == nullptr ? SPA_ID_INVALID : static_cast<std::uint32_t>(std::stoul(text));
}

}  // namespace

const pw_registry_events LinkWatch::registryEvents = [] {
  pw_registry_events events = {};
  events.version = PW_VERSION_REGISTRY_EVENTS;
  events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                     const spa_dict* properties) {
    if (properties != nullptr) static_cast<LinkWatch*>(data)->add(id, type, *properties);
  };
  events.global_remove = [](void* data, std::uint32_t id) { static_cast<LinkWatch*>(data)->remove(id); };
  return events;
}();

LinkWatch::LinkWatch(const PrivateServer& server) : client_(server) {
  registry_ = pw_core_get_registry(client_.core(), PW_VERSION_REGISTRY, 0);
  pw_registry_add_listener(registry_, &listener_, &registryEvents, this);

  // What is there already comes before the answer to this.
  static const pw_core_events coreEvents = [] {
    pw_core_events events = {};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, std::uint32_t, int) {
      auto& self = *static_cast<LinkWatch*>(data);
      self.begun_ = true;
      pw_thread_loop_signal(self.client_.loop(), false);
    };
    return events;
  }();
  pw_core_add_listener(client_.core(), &coreListener_, &coreEvents, this);
  pw_core_sync(client_.core(), PW_ID_CORE, 0);
  pw_thread_loop_lock(client_.loop());
  client_.start();
  while (!begun_ && pw_thread_loop_timed_wait(client_.loop(), 10) == 0) {
  }
  pw_thread_loop_unlock(client_.loop());
  if (!begun_) throw std::runtime_error("the server does not answer");
}

LinkWatch::~LinkWatch() {
  client_.stop();
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void LinkWatch::add(std::uint32_t id, const char* type, const spa_dict& properties) {
  const std::lock_guard lock(mutex_);
  if (spa_streq(type, PW_TYPE_INTERFACE_Node)) {
    const char* const name = spa_dict_lookup(&properties, PW_KEY_NODE_NAME);
    names_[id] = name == nullptr ? "" : name;
  } else if (spa_streq(type, PW_TYPE_INTERFACE_Port)) {
    nodeOfPort_[id] = number(properties, PW_KEY_NODE_ID);
  } else if (spa_streq(type, PW_TYPE_INTERFACE_Link)) {
    links_.emplace(names_[number(properties, PW_KEY_LINK_OUTPUT_NODE)],
                   names_[number(properties, PW_KEY_LINK_INPUT_NODE)]);
  }
}

void LinkWatch::remove(std::uint32_t id) {
  const std::lock_guard lock(mutex_);
  if (nodeOfPort_.erase(id) > 0) countPorts();
  names_.erase(id);
}

void LinkWatch::countPorts() {
  if (watched_.empty()) return;
  const auto count = std::ranges::count_if(nodeOfPort_, [this](const auto& port) {
    const auto name = names_.find(port.second);
    return name != names_.end() && name->second == watched_;
  });
  fewestPorts_ = std::min(fewestPorts_, static_cast<int>(count));
}

std::set<std::string> LinkWatch::everLinkedTo(const std::string& name) const {
  const std::lock_guard lock(mutex_);
  std::set<std::string> others;
  for (const auto& [output, input] : links_) {
    if (output == name) others.insert(input);
    if (input == name) others.insert(output);
  }
  return others;
}

void LinkWatch::watchPorts(const std::string& name) {
  const std::lock_guard lock(mutex_);
  watched_ = name;
  fewestPorts_ = 1000;
  countPorts();
}

int LinkWatch::fewestPorts() const {
  const std::lock_guard lock(mutex_);
  return fewestPorts_;
}

}  // namespace brindlemux::test
