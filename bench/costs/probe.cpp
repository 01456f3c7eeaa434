#include "costs/probe.h"

#include <algorithm>
#include <atomic>
#include <pipewire/extensions/profiler.h>
#include <pipewire/filter.h>
#include <pipewire/impl.h>
#include <pipewire/pipewire.h>
#include <spa/param/profiler.h>
#include <spa/pod/parser.h>
#include <stdexcept>
#include <string_view>

#include "costs/chirp.h"

namespace brindlemux::bench {
namespace {

constexpr int finished = 3;  // the state of a node's activation once its cycle is over

int sum(const std::map<std::string, int>& counts) {
  int total = 0;
  for (const auto& entry : counts) total += entry.second;
  return total;
}

}  // namespace

int ErrorCounts::totalXruns() const { return sum(xruns); }
int ErrorCounts::totalMissed() const { return sum(missed); }

struct Probe::State {
  pw_thread_loop* loop = nullptr;
  pw_context* context = nullptr;
  pw_core* core = nullptr;
  pw_registry* registry = nullptr;
  spa_hook registryListener{};
  pw_proxy* profiler = nullptr;
  spa_hook profilerListener{};
  pw_filter* filter = nullptr;
  spa_hook filterListener{};
  std::vector<void*> ports;
  std::vector<std::vector<float>> recordings;
  std::atomic<std::size_t> frames{0};
  std::atomic<std::uint32_t> cycleFrames{0};
  ErrorCounts errors;

  ~State();
  void record(std::uint32_t count) noexcept;
  void noteProfile(const spa_pod_object* profile);
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type, std::uint32_t version,
                       const spa_dict* properties);
  static void onProfile(void* data, const spa_pod* pod);
  static void onProcess(void* data, spa_io_position* position);
};

Probe::State::~State() {
  if (loop != nullptr) pw_thread_loop_stop(loop);
  if (filter != nullptr) pw_filter_destroy(filter);
  if (profiler != nullptr) pw_proxy_destroy(profiler);
  if (registry != nullptr) pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
  if (core != nullptr) pw_core_disconnect(core);
  if (context != nullptr) pw_context_destroy(context);
  if (loop != nullptr) pw_thread_loop_destroy(loop);
  pw_deinit();
}

void Probe::State::record(std::uint32_t count) noexcept {
  const std::size_t at = frames.load(std::memory_order_relaxed);
  cycleFrames.store(count, std::memory_order_relaxed);
  const std::size_t taken = std::min<std::size_t>(count, recordings.front().size() - at);
  for (std::size_t port = 0; port < ports.size(); ++port) {
    const auto* const samples = static_cast<const float*>(pw_filter_get_dsp_buffer(ports[port], count));
    // What is not linked stays silent.
    if (samples != nullptr) std::copy_n(samples, taken, recordings[port].begin() + static_cast<std::ptrdiff_t>(at));
  }
  frames.store(at + taken, std::memory_order_release);
}

void Probe::State::onProcess(void* data, spa_io_position* position) {
  if (position == nullptr) return;
  static_cast<State*>(data)->record(static_cast<std::uint32_t>(position->clock.duration));
}

void Probe::State::onGlobal(void* data, std::uint32_t id, std::uint32_t /*permissions*/, const char* type,
                            std::uint32_t /*version*/, const spa_dict* /*properties*/) {
  static constexpr pw_profiler_events events = {.version = PW_VERSION_PROFILER_EVENTS, .profile = onProfile};
  auto* const self = static_cast<State*>(data);
  if (self->profiler != nullptr || std::string_view(type) != PW_TYPE_INTERFACE_Profiler) return;
  self->profiler = static_cast<pw_proxy*>(pw_registry_bind(self->registry, id, type, PW_VERSION_PROFILER, 0));
  if (self->profiler == nullptr) return;
  pw_proxy_add_object_listener(self->profiler, &self->profilerListener, &events, self);
}

void Probe::State::onProfile(void* data, const spa_pod* pod) {
  auto* const self = static_cast<State*>(data);
  const auto* const end = static_cast<const std::uint8_t*>(SPA_POD_BODY_CONST(pod)) + SPA_POD_BODY_SIZE(pod);
  const auto* at = static_cast<const std::uint8_t*>(SPA_POD_BODY_CONST(pod));
  while (at + sizeof(spa_pod) <= end) {
    const auto* const profile = reinterpret_cast<const spa_pod*>(at);
    if (spa_pod_is_object_type(profile, SPA_TYPE_OBJECT_Profiler)) {
      self->noteProfile(reinterpret_cast<const spa_pod_object*>(profile));
    }
    at += SPA_ROUND_UP_N(SPA_POD_SIZE(profile), 8);
  }
}

void Probe::State::noteProfile(const spa_pod_object* profile) {
  std::int64_t counter = 0;
  float load[3] = {};
  int xruns = 0;
  int id = 0;
  const char* name = nullptr;
  std::int64_t times[4] = {};
  int status = 0;
  std::string driver;
  const spa_pod_prop* property = nullptr;
  SPA_POD_OBJECT_FOREACH(profile, property) {
    switch (property->key) {
      case SPA_PROFILER_info:
        spa_pod_parse_struct(&property->value, SPA_POD_Long(&counter), SPA_POD_Float(&load[0]), SPA_POD_Float(&load[1]),
                             SPA_POD_Float(&load[2]), SPA_POD_Int(&xruns));
        break;
      case SPA_PROFILER_driverBlock:
      case SPA_PROFILER_followerBlock:
        if (spa_pod_parse_struct(&property->value, SPA_POD_Int(&id), SPA_POD_String(&name), SPA_POD_Long(&times[0]),
                                 SPA_POD_Long(&times[1]), SPA_POD_Long(&times[2]), SPA_POD_Long(&times[3]),
                                 SPA_POD_Int(&status)) < 0) {
          break;
        }
        if (property->key == SPA_PROFILER_driverBlock) {
          driver = name;
        } else if (status != finished) {
          ++errors.missed[name];
        }
        break;
      default:
        break;
    }
  }
  errors.xruns[driver] = xruns;
  ++errors.profiles;
}

Probe::Probe(const std::string& socket, std::size_t ports, int seconds) : state_(std::make_unique<State>()) {
  static constexpr pw_filter_events filterEvents = {.version = PW_VERSION_FILTER_EVENTS, .process = State::onProcess};
  static constexpr pw_registry_events registryEvents = {.version = PW_VERSION_REGISTRY_EVENTS,
                                                        .global = State::onGlobal};
  State& state = *state_;
  pw_init(nullptr, nullptr);
  state.recordings.assign(std::max<std::size_t>(ports, 1),
                          std::vector<float>(static_cast<std::size_t>(seconds) * sampleRateHz));
  state.loop = pw_thread_loop_new("probe", nullptr);
  state.context = pw_context_new(pw_thread_loop_get_loop(state.loop),
                                 pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", nullptr), 0);
  pw_context_load_module(state.context, PW_EXTENSION_MODULE_PROFILER, nullptr, nullptr);
  if (pw_thread_loop_start(state.loop) < 0) throw std::runtime_error("the probe's thread cannot start");
  pw_thread_loop_lock(state.loop);
  state.core = pw_context_connect(state.context, pw_properties_new(PW_KEY_REMOTE_NAME, socket.c_str(), nullptr), 0);
  if (state.core != nullptr) {
    state.registry = pw_core_get_registry(state.core, PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(state.registry, &state.registryListener, &registryEvents, &state);
    if (ports > 0) {
      state.filter = pw_filter_new(state.core, "probe",
                                   pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Filter",
                                                     PW_KEY_MEDIA_ROLE, "DSP", PW_KEY_NODE_NAME, "probe", nullptr));
      pw_filter_add_listener(state.filter, &state.filterListener, &filterEvents, &state);
    }
    for (std::size_t port = 0; port < ports; ++port) {
      const std::string name = "input_" + std::to_string(port + 1);
      state.ports.push_back(pw_filter_add_port(
          state.filter, PW_DIRECTION_INPUT, PW_FILTER_PORT_FLAG_MAP_BUFFERS, 0,
          pw_properties_new(PW_KEY_FORMAT_DSP, "32 bit float mono audio", PW_KEY_PORT_NAME, name.c_str(), nullptr),
          nullptr, 0));
    }
    if (ports > 0) pw_filter_connect(state.filter, PW_FILTER_FLAG_RT_PROCESS, nullptr, 0);
  }
  pw_thread_loop_unlock(state.loop);
  if (state.core == nullptr) throw std::runtime_error("the probe cannot reach the server");
}

Probe::~Probe() = default;

std::size_t Probe::frames() const { return state_->frames.load(std::memory_order_acquire); }

std::vector<float> Probe::recording(std::size_t port) const {
  const std::vector<float>& all = state_->recordings[port];
  return {all.begin(), all.begin() + static_cast<std::ptrdiff_t>(frames())};
}

std::uint32_t Probe::cycleFrames() const { return state_->cycleFrames.load(std::memory_order_relaxed); }

ErrorCounts Probe::errors() const {
  pw_thread_loop_lock(state_->loop);
  ErrorCounts errors = state_->errors;
  pw_thread_loop_unlock(state_->loop);
  return errors;
}

}  // namespace brindlemux::bench
