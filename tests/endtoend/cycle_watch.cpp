#include "endtoend/cycle_watch.h"

#include <pipewire/extensions/profiler.h>
#include <pipewire/impl.h>
#include <spa/debug/types.h>
#include <spa/param/profiler.h>
#include <spa/pod/iter.h>
#include <spa/pod/parser.h>
#include <spa/utils/string.h>
#include <utility>

// The server's macros cast in C's way.
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wcast-align"
#pragma GCC diagnostic ignored "-Wpedantic"

namespace brindlemux::test {
namespace {

/// The name at the second place of a block that tells of a node.
std::string nameOf(const spa_pod& block) {
  std::int32_t id = 0;
  const char* name = nullptr;
  spa_pod_parser parser = {};
  spa_pod_parser_pod(&parser, &block);
  spa_pod_frame frame = {};
  if (spa_pod_parser_push_struct(&parser, &frame) < 0) return {};
  if (spa_pod_parser_get(&parser, SPA_POD_Int(&id), SPA_POD_String(&name), nullptr) < 0) return {};
  return name == nullptr ? std::string() : name;
}

}  // namespace

CycleWatch::CycleWatch(const PrivateServer& server) : client_(server) {
  static const pw_registry_events registryEvents = [] {
    pw_registry_events events = {};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t, const spa_dict*) {
      if (spa_streq(type, PW_TYPE_INTERFACE_Profiler)) static_cast<CycleWatch*>(data)->bind(id);
    };
    return events;
  }();
  pw_context_load_module(client_.context(), PW_EXTENSION_MODULE_PROFILER, nullptr, nullptr);
  registry_ = pw_core_get_registry(client_.core(), PW_VERSION_REGISTRY, 0);
  pw_registry_add_listener(registry_, &registryHook_, &registryEvents, this);
  client_.start();
}

CycleWatch::~CycleWatch() {
  client_.stop();
  if (profiler_ != nullptr) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(profiler_));
  pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void CycleWatch::bind(std::uint32_t id) {
  static const pw_profiler_events profilerEvents = [] {
    pw_profiler_events events = {};
    events.version = PW_VERSION_PROFILER_EVENTS;
    events.profile = [](void* data, const spa_pod* profile) { static_cast<CycleWatch*>(data)->take(profile); };
    return events;
  }();
  if (profiler_ != nullptr) return;
  profiler_ =
      static_cast<pw_profiler*>(pw_registry_bind(registry_, id, PW_TYPE_INTERFACE_Profiler, PW_VERSION_PROFILER, 0));
  if (profiler_ != nullptr) pw_profiler_add_listener(profiler_, &profilerHook_, &profilerEvents, this);
}

void CycleWatch::take(const spa_pod* profile) {
  const std::lock_guard lock(mutex_);
  auto* const first = static_cast<spa_pod*>(SPA_POD_BODY(profile));
  for (auto* cycle = first; spa_pod_is_inside(first, SPA_POD_BODY_SIZE(profile), cycle);
       cycle = static_cast<spa_pod*>(spa_pod_next(cycle))) {
    if (!spa_pod_is_object_type(cycle, SPA_TYPE_OBJECT_Profiler)) continue;
    const auto* const object = reinterpret_cast<const spa_pod_object*>(cycle);
    std::string driver;
    const spa_pod_prop* property = nullptr;
    // The driver's block stands before those of its followers.
    SPA_POD_OBJECT_FOREACH(object, property) {
      if (property->key == SPA_PROFILER_driverBlock) driver = nameOf(property->value);
      if (property->key != SPA_PROFILER_driverBlock && property->key != SPA_PROFILER_followerBlock) continue;
      drivers_[nameOf(property->value)].insert(driver);
    }
  }
}

std::map<std::string, std::set<std::string>> CycleWatch::takeDrivers() {
  const std::lock_guard lock(mutex_);
  return std::exchange(drivers_, {});
}

}  // namespace brindlemux::test
