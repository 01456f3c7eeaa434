#include "histories/history.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <sstream>

#include "histories/listening.h"
#include "histories/steps.h"
#include "histories/violation.h"

namespace brindlemux::history {
namespace {

std::string text(const std::vector<std::string>& lines) {
  std::ostringstream joined;
  for (const std::string& line : lines) joined << "\n    " << line;
  return joined.str();
}

/// Whether sorted `part` holds nothing that sorted `whole` does not, as often.
bool isWithin(const std::vector<std::string>& part, const std::vector<std::string>& whole) {
  return std::includes(whole.begin(), whole.end(), part.begin(), part.end());
}

/// As the controller tells whether an edit needs a restart.
bool isStructural(const DeviceGraph& before, const DeviceGraph& after) {
  const auto same = [](const auto& left, const auto& right, auto key) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&key](const auto& first, const auto& second) { return key(first) == key(second); });
  };
  const auto id = [](const auto& node) { return node.id; };
  const auto device = [](const MonitorNodeConfig& monitor) { return monitor.deviceUID; };
  return !same(before.sources, after.sources, id) || !same(before.monitors, after.monitors, id) ||
         !same(before.monitors, after.monitors, device) || before.enabled != after.enabled ||
         before.latencyFrames != after.latencyFrames;
}

}  // namespace

History::History(std::uint64_t seed) : seed_(seed), beginning_(seed, 0), world_(beginning_) {
  for (const std::string& uid : World::virtualUIDs()) {
    Routing& routing = routings_.emplace_back();
    routing.uid = uid;
    routing.graph = DeviceGraph(uid);
    list(routing);
  }
  refresh();
}

std::string History::step(std::int64_t number) {
  Random random(seed_, static_cast<std::uint64_t>(number) + 1);
  std::string what = performRandomStep(*this, random);
  if (random.chance(70)) refresh();
  checkNothingLeaked();
  return what;
}

template <typename Action>
History::Strictness History::command(Routing& routing, const std::string& name, Action action) {
  CallJournal& journal = world_.hardware.journal();
  journal.take();
  const std::int64_t struckBefore = journal.struckFaults();
  const Labels before = labelsOf(world_.hardware);
  std::erase_if(routing.owned, [&before](const std::string& label) { return !before.contains(label); });
  try {
    action();
  } catch (const std::exception& error) {
    throw Violation(name + " of " + routing.uid + " threw: " + error.what());
  }
  lastCalls_ = journal.take();
  const std::vector<std::string>& lines = lastCalls_;
  calls_.follow(lines, routing.uid);
  checkBlockSizes(routing, lines);
  account(routing, before, name);
  return journal.struckFaults() == struckBefore && !isDisturbed() ? Strictness::exact : Strictness::disturbed;
}

/// What a command made is the engine's; what others have stays.
void History::account(Routing& routing, const Labels& before, const std::string& name) {
  const Labels after = labelsOf(world_.hardware);
  for (const std::string& label : after) {
    if (!before.contains(label)) routing.owned.insert(label);
  }
  for (const std::string& label : before) {
    const bool isForeign = !after.contains(label) && !routing.owned.contains(label);
    require(!isForeign, name + " of " + routing.uid + " released " + label + ", which is not its own");
  }
  for (const std::string& label : calls_.takeRefused()) {
    if (after.contains(label)) refused_.insert(label);
    routing.owned.erase(label);
  }
  std::erase_if(routing.owned, [&after](const std::string& label) { return !after.contains(label); });
}

void History::checkBlockSizes(const Routing& routing, const std::vector<std::string>& lines) const {
  const std::string frames = std::to_string(std::clamp<std::int64_t>(routing.graph.latencyFrames, 32, 4096));
  for (const std::string& line : lines) {
    const std::size_t at = line.find(" fsiz = ");
    if (!line.starts_with("setPropertyData") || at == std::string::npos) continue;
    const std::string asked = line.substr(at + 8, line.find(' ', at + 8) - at - 8);
    require(asked == frames, routing.uid + " asked for blocks of another size than its graph: " + line);
  }
}

void History::reconcile(Routing& routing) {
  const RunningTaps taps = tapsOf(world_, routing.owned);
  DeviceEngine& engine = *routing.engine;
  Strictness strictness = command(routing, "reconcile", [&] {
    engine.setGraph(routing.graph);
    engine.reconcile(routing.channels, environment_.processes, environment_.devices);
  });
  if (listsAreDoubtful_) strictness = Strictness::disturbed;
  checkRunning(routing, wantedOf(world_, routing, environment_, taps), strictness);
  engine.lastError = std::nullopt;
  if (isDisturbed()) return;
  // The meters show exactly the sources whose captures run.
  for (const auto& [id, peaks] : engine.meterSnapshot().sourcePeaks) {
    const auto isIts = [&id = id](const SourceNodeConfig& source) { return source.id == id; };
    require(std::any_of(routing.graph.sources.begin(), routing.graph.sources.end(), isIts),
            "a meter of a source that the graph of " + routing.uid + " does not have");
    require(!peaks.empty(), "a meter without channels");
  }
}

void History::checkRunning(const Routing& routing, const Wanted& wanted, Strictness strictness) const {
  const Running running = runningOf(world_, routing.owned);
  const std::string comparison = routing.uid + " runs" + text(running.details) + "\n  its graph asks for" +
                                 text(wanted.running.details) + "\n  its last calls" + text(lastCalls_);
  if (strictness == Strictness::exact && wanted.isCertain) {
    require(running.details == wanted.running.details, comparison);
    require(routing.engine->lastError == wanted.message,
            routing.uid + " says \"" + routing.engine->lastError.value_or("nothing") + "\" instead of \"" +
                wanted.message.value_or("nothing") + '"');
  } else {
    require(isWithin(running.kinds, wanted.running.kinds), comparison);
  }
}

void History::stopAll(Routing& routing) {
  command(routing, "stopAll", [&] { routing.engine->stopAll(); });
  require(routing.owned.empty(), routing.uid + " still runs" + text(runningOf(world_, routing.owned).details));
}

void History::checkNothingLeaked() const {
  Labels known = refused_;
  for (const Routing& routing : routings_) known.insert(routing.owned.begin(), routing.owned.end());
  for (const std::string& label : labelsOf(world_.hardware)) {
    require(known.contains(label), label + " is nobody's");
  }
}

bool History::isDisturbed() const { return world_.refusesUnits; }

void History::refresh() {
  CallJournal& journal = world_.hardware.journal();
  const std::int64_t struckBefore = journal.struckFaults();
  environment_ = {world_.discovery.listAudioProcesses(), world_.discovery.listAudioDevices()};
  listsAreDoubtful_ = journal.struckFaults() != struckBefore;
  for (Routing& routing : routings_) {
    if (routing.engine != nullptr) reconcile(routing);
  }
}

void History::updateGraph(Routing& routing, const DeviceGraph& graph) {
  const bool restarts = isStructural(routing.graph, graph);
  routing.graph = graph;
  if (routing.engine == nullptr) return;
  if (restarts) stopAll(routing);
  reconcile(routing);
}

void History::list(Routing& routing) {
  routing.engine = std::make_unique<DeviceEngine>(routing.uid, routing.graph, world_.services);
}

void History::discard(Routing& routing) {
  if (routing.engine == nullptr) return;
  command(routing, "the destructor", [&] { routing.engine.reset(); });
  require(routing.owned.empty(), "an engine that is gone left" + text(runningOf(world_, routing.owned).details));
}

void History::restartAll() {
  for (Routing& routing : routings_) {
    if (routing.engine != nullptr) stopAll(routing);
  }
  refresh();
}

void History::endFaults() {
  world_.hardware.journal().clearFaults();
  world_.refuseUnits(false);
}

void History::advance(std::int64_t frames) {
  world_.hardware.advance(frames);
  for (const Pluggable& device : world_.devices) {
    if (!device.isPresent()) continue;
    for (const auto& channel : world_.hardware.takeOutput(device.id)) {
      require(std::all_of(channel.begin(), channel.end(), [](float sample) { return std::fabs(sample) < 100.0F; }),
              device.uid + " plays what is not sound");
    }
  }
}

void History::settleAndListen() {
  endFaults();
  refresh();
  world_.evenPace();
  listen(*this);
  // What the server refused to release was there to be heard, and does not pile up.
  release(world_.hardware, refused_);
  refused_.clear();
}

/// Takes readers out of the plans and back in, while the captures run on: they start anew, at a distance from a writer
/// whose blocks are known.
void History::repositionReaders(Readers readers) {
  for (Routing& routing : routings_) {
    if (routing.engine == nullptr) continue;
    const DeviceGraph full = routing.graph;
    if (readers == Readers::monitors) {
      routing.graph.monitors.clear();
    } else {
      for (SourceNodeConfig& source : routing.graph.sources) source.enabled = false;
    }
    reconcile(routing);
    routing.graph = full;
    reconcile(routing);
  }
}

void History::finish() {
  settleAndListen();
  listenToEachChannel(*this);
  for (Routing& routing : routings_) discard(routing);
  checkNothingLeaked();
}

}  // namespace brindlemux::history
