#include "platform/pipewire/route_table.h"

namespace brindlemux {

RouteTable::RouteTable(std::function<void()> changed) : changed_(changed), linker_(std::move(changed)) {}

bool RouteTable::start(std::uint64_t key, RouteLife life, FilterShape shape, std::unique_ptr<FilterProcess> process,
                       Wiring wiring) {
  Route route{.life = life,
              .shape = std::move(shape),
              .process = std::move(process),
              .wiring = std::move(wiring),
              .node = nullptr};
  const bool isMade = core_ != nullptr && realise(route);
  // A server that has just gone may not have been missed yet: what returns is made with the next one.
  if (!isMade && life != RouteLife::returns) return false;
  routes_.insert_or_assign(key, std::move(route));
  changed_();
  return true;
}

RouteTable::~RouteTable() { disconnect(); }

void RouteTable::stop(std::uint64_t key) {
  const auto found = routes_.find(key);
  if (found == routes_.end()) return;
  if (found->second.node) {
    found->second.node->retire();
    retired_.emplace_back().node = std::move(found->second.node);
  }
  routes_.erase(found);
  changed_();
}

void RouteTable::connect(pw_core* core) {
  static constexpr pw_core_events events = {
      .version = PW_VERSION_CORE_EVENTS,
      .info = nullptr,
      .done = onCoreDone,
      .ping = nullptr,
      .error = nullptr,
      .remove_id = nullptr,
      .bound_id = nullptr,
      .add_mem = nullptr,
      .remove_mem = nullptr,
  };
  core_ = core;
  pw_core_add_listener(core_, &coreListener_, &events, this);
  for (auto& [key, route] : routes_) {
    if (route.life == RouteLife::returns) realise(route);
  }
}

void RouteTable::disconnect() {
  if (core_ == nullptr) return;
  core_ = nullptr;
  spa_hook_remove(&coreListener_);
  linker_.clear();
  retired_.clear();
  for (auto& [key, route] : routes_) route.node.reset();
}

void RouteTable::relink(const ServerMirror& mirror) {
  if (core_ == nullptr) return;
  keepBlockSizes();
  std::vector<LinkRequest> wanted;
  for (auto& [key, route] : routes_) {
    if (route.node && route.node->isLost()) {
      route.node.reset();
      realise(route);
    }
    if (!route.node) continue;
    const std::uint32_t id = route.node->globalID();
    if (id == SPA_ID_INVALID) continue;
    route.wiring({.inputs = mirror.ports(id, PW_DIRECTION_INPUT), .outputs = mirror.ports(id, PW_DIRECTION_OUTPUT)},
                 wanted);
  }
  linker_.apply(core_, wanted);
  releaseRetired();
}

/// Comes after the links of the ended routes have been given up. A node that the server has not made yet is still to
/// get its descriptors; one that goes on with its group gets some with each of the group's drivers.
void RouteTable::releaseRetired() {
  std::erase_if(retired_, [](const Retired& retired) { return retired.isAnswered; });
  for (Retired& retired : retired_) {
    if (retired.question || !retired.node->isAnswered()) continue;
    retired.node->deactivate();
    retired.question = pw_core_sync(core_, PW_ID_CORE, 0);
  }
}

void RouteTable::onCoreDone(void* data, std::uint32_t id, int sequence) {
  auto* const self = static_cast<RouteTable*>(data);
  if (id != PW_ID_CORE) return;
  for (Retired& retired : self->retired_) {
    if (retired.question != sequence) continue;
    retired.isAnswered = true;
    self->changed_();
  }
}

/// A node asks for a length of time: to go on asking for the same number of frames it has to say so at a new rate.
void RouteTable::keepBlockSizes() {
  const std::uint32_t rateHz = cycleRateHz();
  if (rateHz == 0) return;
  for (auto& [key, route] : routes_) {
    if (!route.node || route.shape.latencyRateHz == rateHz) continue;
    route.shape.latencyRateHz = rateHz;
    route.node->askForLatency(route.shape.latencyFrames, rateHz);
  }
}

std::uint32_t RouteTable::cycleRateHz() const {
  for (const auto& [key, route] : routes_) {
    if (route.node && route.node->cycleRateHz() > 0) return route.node->cycleRateHz();
  }
  return 0;
}

bool RouteTable::realise(Route& route) {
  auto node = std::make_unique<FilterNode>(core_, route.shape, *route.process, counter_, changed_);
  if (!node->isValid()) return false;
  route.node = std::move(node);
  return true;
}

}  // namespace brindlemux
