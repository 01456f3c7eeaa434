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
  if (core_ == nullptr || !realise(route)) return false;
  routes_.insert_or_assign(key, std::move(route));
  changed_();
  return true;
}

void RouteTable::stop(std::uint64_t key) {
  if (routes_.erase(key) > 0) changed_();
}

void RouteTable::connect(pw_core* core) {
  core_ = core;
  for (auto& [key, route] : routes_) {
    if (route.life == RouteLife::returns) realise(route);
  }
}

void RouteTable::disconnect() {
  core_ = nullptr;
  linker_.clear();
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
