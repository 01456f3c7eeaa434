#include "endtoend/patch.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

constexpr std::uint64_t onlyRoute = 1;

/// A block that a machine without real-time guarantees holds.
constexpr std::uint32_t blockFrames = 2048;

class CycleProcess final : public FilterProcess {
 public:
  explicit CycleProcess(PatchCycle cycle) : cycle_(std::move(cycle)) {}
  void process(std::span<float* const> inputs, std::span<float* const> outputs,
               std::uint32_t frames) noexcept override {
    cycle_(inputs, outputs, frames);
  }

 private:
  const PatchCycle cycle_;
};

const ServerPort* find(const ServerMirror& mirror, const PatchedPort& wanted, pw_direction direction) {
  const ServerPort* found = nullptr;
  for (const ServerNode* node : mirror.nodes()) {
    if (node->name() != wanted.node) continue;
    const auto ports = mirror.ports(node->globalID, direction);
    if (wanted.channel < ports.size()) found = ports[wanted.channel];
  }
  return found;
}

Wiring wiring(const ServerMirror& mirror, std::vector<PatchedPort> heard, std::vector<PatchedPort> played) {
  return [&mirror, heard = std::move(heard), played = std::move(played)](const OwnPorts& own,
                                                                         std::vector<LinkRequest>& links) {
    for (std::size_t i = 0; i < std::min(heard.size(), own.inputs.size()); ++i) {
      if (const auto* port = find(mirror, heard[i], PW_DIRECTION_OUTPUT)) links.push_back({port, own.inputs[i]});
    }
    for (std::size_t i = 0; i < std::min(played.size(), own.outputs.size()); ++i) {
      if (const auto* port = find(mirror, played[i], PW_DIRECTION_INPUT)) links.push_back({own.outputs[i], port});
    }
  };
}

}  // namespace

Patch::Patch(const std::string& name, std::vector<PatchedPort> heard, std::vector<PatchedPort> played, PatchCycle cycle)
    : connection_(*this),
      mirror_([this] { connection_.signalUpdate(); }),
      routes_([this] { connection_.signalUpdate(); }) {
  connection_.start();
  const ServerConnection::Lock guard(connection_);
  const FilterShape shape = {.name = name,
                             .description = name,
                             .inputPorts = static_cast<std::uint32_t>(heard.size()),
                             .outputPorts = static_cast<std::uint32_t>(played.size()),
                             .latencyFrames = blockFrames,
                             .latencyRateHz = 48000};
  if (!routes_.start(onlyRoute, RouteLife::returns, shape, std::make_unique<CycleProcess>(std::move(cycle)),
                     wiring(mirror_, std::move(heard), std::move(played)))) {
    throw std::runtime_error("there is no server for " + name);
  }
}

Patch::~Patch() { connection_.stop(); }

void Patch::serverConnected(pw_core* core) {
  mirror_.attach(core);
  routes_.connect(core);
}

void Patch::serverDisconnected() {
  routes_.disconnect();
  mirror_.detach();
}

void Patch::serverUpdated() { routes_.relink(mirror_); }

LevelSource::LevelSource(const std::string& name, std::vector<PatchedPort> played, std::vector<float> levels)
    : patch_(
          name, {}, std::move(played),
          [levels = std::move(levels)](std::span<float* const>, std::span<float* const> outputs, std::uint32_t frames) {
            for (std::size_t i = 0; i < outputs.size(); ++i) {
              if (outputs[i] != nullptr) std::fill_n(outputs[i], frames, levels[i]);
            }
          }) {}

LevelMeter::LevelMeter(const std::string& name, std::vector<PatchedPort> heard)
    : levels_(heard.size()),
      patch_(name, std::move(heard), {},
             [this](std::span<float* const> inputs, std::span<float* const>, std::uint32_t frames) {
               for (std::size_t i = 0; i < inputs.size(); ++i) {
                 levels_[i] = inputs[i] == nullptr ? 0.0F : inputs[i][frames - 1];
               }
             }) {}

void LevelMeter::forget() {
  for (auto& level : levels_) level = 0.0F;
}

std::vector<float> LevelMeter::levels() const { return {levels_.begin(), levels_.end()}; }

}  // namespace brindlemux::test
