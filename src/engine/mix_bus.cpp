#include "engine/mix_bus.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <mutex>
#include <utility>

#include "engine/soft_limiter.h"
#include "model/fatal_error.h"
#include "platform/standard_float_format.h"

namespace brindlemux {
namespace {

using Cursors = std::unordered_map<UUID, std::int64_t>;

/// A reader that has no position yet.
constexpr std::int64_t unpositioned = -1;

/// Output channels that are limited and metered together; no virtual device has more.
constexpr auto channelsPerLot = static_cast<std::size_t>(maximumChannels);

/// The entry of a channel that has one in a list of gains, otherwise `fallback`.
float gainOf(std::int64_t channel, const std::vector<float>& gains, float fallback) {
  if (channel < 0 || channel >= static_cast<std::int64_t>(gains.size())) return fallback;
  return gains[static_cast<std::size_t>(channel)];
}

Tap compiled(const SourceWire& wire, const SourceNodeConfig& source, const DeviceGraph& graph) {
  const float sourceGain = gainOf(wire.sourceChannel, source.channelGains, source.gain);
  const float outputGain = gainOf(wire.outputChannel, graph.outputGains, 1.0F);
  return {.src = wire.sourceChannel, .out = wire.outputChannel, .gain = sourceGain * graph.masterGain * outputGain};
}

/// Brings the taps of an output together, in the order that they have: they are then added in one pass, and what
/// different outputs receive does not depend on the order in which they do.
void groupByOutput(std::vector<Tap>& taps) { std::ranges::stable_sort(taps, {}, &Tap::out); }

std::vector<RenderEntry> compiledSources(const DeviceGraph& graph, const MixBus::Rings& rings,
                                         std::int64_t deviceChannels) {
  std::unordered_map<UUID, std::vector<SourceWire>> wires;
  for (const SourceWire& wire : graph.wires) {
    if (wire.outputChannel < deviceChannels) wires[wire.sourceID].push_back(wire);
  }
  std::vector<RenderEntry> plan;
  for (const SourceNodeConfig& source : graph.sources) {
    if (!source.enabled) continue;
    const auto ring = rings.find(source.id);
    const auto wired = wires.find(source.id);
    if (ring == rings.end() || ring->second == nullptr || wired == wires.end()) continue;
    RenderEntry& entry = plan.emplace_back();
    entry.ring = ring->second;
    entry.cursorKey = source.id;
    for (const SourceWire& wire : wired->second) entry.taps.push_back(compiled(wire, source, graph));
    groupByOutput(entry.taps);
  }
  return plan;
}

/// Whether enabled or not: a monitor that is switched on again finds its plan in force.
std::unordered_map<UUID, std::vector<Tap>> compiledMonitors(const DeviceGraph& graph, std::int64_t deviceChannels) {
  std::unordered_map<UUID, std::vector<Tap>> plans;
  for (const MonitorNodeConfig& monitor : graph.monitors) {
    std::vector<Tap> taps;
    for (const MonitorWire& wire : graph.monitorWires) {
      if (wire.monitorID != monitor.id || wire.outputChannel >= deviceChannels) continue;
      taps.push_back({.src = wire.outputChannel, .out = wire.monitorChannel, .gain = monitor.gain});
    }
    groupByOutput(taps);
    plans.insert_or_assign(monitor.id, std::move(taps));
  }
  return plans;
}

Cursors unpositionedCursors(const std::unordered_set<UUID>& readers) {
  Cursors cursors;
  for (const UUID& reader : readers) cursors.emplace(reader, unpositioned);
  return cursors;
}

/// Carries the positions of the readers that stay over into a map that holds every reader's key; never allocates.
void keepPositions(Cursors& into, const Cursors& from, const std::unordered_set<UUID>& staying) noexcept {
  for (auto& [reader, cursor] : into) {
    const auto previous = from.find(reader);
    if (previous != from.end() && staying.contains(reader)) cursor = previous->second;
  }
}

/// A copy of what render threads write to. The keys change on the calling thread only, so that just the positions need
/// the lock, and nothing is allocated while it is held.
Cursors copied(const Cursors& cursors, UnfairLock& lock) {
  Cursors copy;
  for (const auto& entry : cursors) copy.emplace(entry.first, unpositioned);
  const std::lock_guard guard(lock);
  for (auto& [reader, cursor] : copy) {
    if (const auto found = cursors.find(reader); found != cursors.end()) cursor = found->second;
  }
  return copy;
}

}  // namespace

// The main thread alone changes the plans, the key sets and the loop-back ring, so it reads them without the lock. What
// it changes, it prepares before it takes the lock, and what it replaces, it destroys after: no render thread ever
// waits for the allocator, and none drops the last reference to a ring.

void MixBus::rebuildPlans(const DeviceGraph& graph, const Rings& rings, std::int64_t deviceChannels) {
  if (deviceChannels < 0) fatalError("a negative number of device channels");
  std::vector<RenderEntry> virtualPlan = compiledSources(graph, rings, deviceChannels);
  std::unordered_map<UUID, std::vector<Tap>> monitorPlans = compiledMonitors(graph, deviceChannels);
  std::unordered_set<UUID> planSources;
  for (const RenderEntry& entry : virtualPlan) planSources.insert(entry.cursorKey);
  std::unordered_set<UUID> planMonitors;
  for (const auto& plan : monitorPlans) planMonitors.insert(plan.first);
  Cursors cursors = unpositionedCursors(planSources);
  Cursors monitorCursors = unpositionedCursors(planMonitors);
  // Exchanging two maps leaves their entries where they are.
  std::vector<std::int64_t*> planCursors;
  planCursors.reserve(virtualPlan.size());
  for (const RenderEntry& entry : virtualPlan) planCursors.push_back(&cursors.find(entry.cursorKey)->second);
  {
    const std::lock_guard guard(planLock_);
    keepPositions(cursors, cursors_, activePlanSources_);
    if (!inputDidReset_) keepPositions(monitorCursors, monitorCursors_, activePlanMonitors_);
    virtualPlan_.swap(virtualPlan);
    monitorPlans_.swap(monitorPlans);
    cursors_.swap(cursors);
    planCursors_.swap(planCursors);
    monitorCursors_.swap(monitorCursors);
    activePlanSources_.swap(planSources);
    activePlanMonitors_.swap(planMonitors);
    inputDidReset_ = false;
  }

  if (static_cast<std::int64_t>(outputPeakAccum_.size()) == deviceChannels) return;
  std::vector<float> peaks(static_cast<std::size_t>(deviceChannels));
  const std::lock_guard guard(meterLock_);
  outputPeakAccum_.swap(peaks);
}

void MixBus::renderVirtual(std::span<float* const> buffers, std::int64_t frames) noexcept {
  {
    const std::lock_guard guard(planLock_);
    std::int64_t* const* cursor = planCursors_.data();
    for (const RenderEntry& entry : std::span(virtualPlan_))
      entry.ring->mixRead(frames, **cursor++, buffers, entry.taps);
  }
  if (frames < 1) return;

  // Limited and scanned in one pass before the lock is taken; the peaks wait on the stack, in lots.
  const auto length = static_cast<std::size_t>(frames);
  std::array<float, channelsPerLot> peaks;
  for (std::size_t first = 0; first < buffers.size(); first += channelsPerLot) {
    const std::span<float* const> lot = buffers.subspan(first, std::min(buffers.size() - first, channelsPerLot));
    for (std::size_t channel = 0; channel < lot.size(); ++channel) peaks[channel] = softLimit({lot[channel], length});

    const std::lock_guard guard(meterLock_);
    for (std::size_t channel = 0; channel < lot.size() && first + channel < outputPeakAccum_.size(); ++channel) {
      float& peak = outputPeakAccum_[first + channel];
      peak = std::max(peak, peaks[channel]);
    }
  }
}

void MixBus::renderMonitor(const UUID& monitor, std::span<float* const> buffers, std::int64_t frames) noexcept {
  const std::lock_guard guard(planLock_);
  if (monitorInputRing_ == nullptr) return;
  const auto plan = monitorPlans_.find(monitor);
  // A monitor without a plan has no cursor either; a render thread does not insert one.
  if (plan == monitorPlans_.end()) return;
  monitorInputRing_->mixRead(frames, monitorCursors_.find(monitor)->second, buffers, plan->second);
}

void MixBus::setMonitorInputRing(std::shared_ptr<SourceRing> ring) {
  const std::lock_guard guard(planLock_);
  // The previous ring leaves in the argument, which outlives the guard.
  monitorInputRing_.swap(ring);
  inputDidReset_ = true;
}

void MixBus::dropMonitorInputRing() {
  std::shared_ptr<SourceRing> previous;
  const std::lock_guard guard(planLock_);
  monitorInputRing_.swap(previous);
}

void MixBus::clear() {
  std::vector<RenderEntry> virtualPlan;
  std::vector<std::int64_t*> planCursors;
  std::unordered_map<UUID, std::vector<Tap>> monitorPlans;
  Cursors cursors;
  Cursors monitorCursors;
  std::unordered_set<UUID> planSources;
  std::unordered_set<UUID> planMonitors;
  {
    const std::lock_guard guard(planLock_);
    virtualPlan_.swap(virtualPlan);
    monitorPlans_.swap(monitorPlans);
    cursors_.swap(cursors);
    planCursors_.swap(planCursors);
    monitorCursors_.swap(monitorCursors);
    activePlanSources_.swap(planSources);
    activePlanMonitors_.swap(planMonitors);
  }
  const std::lock_guard guard(meterLock_);
  std::ranges::fill(outputPeakAccum_, 0.0F);
}

std::vector<float> MixBus::takeOutputPeaks() {
  std::vector<float> peaks(outputPeakAccum_.size());
  const std::lock_guard guard(meterLock_);
  peaks.swap(outputPeakAccum_);
  return peaks;
}

std::vector<RenderEntry> MixBus::virtualPlan() const { return virtualPlan_; }

std::unordered_map<UUID, std::vector<Tap>> MixBus::monitorPlans() const { return monitorPlans_; }

std::unordered_map<UUID, std::int64_t> MixBus::cursors() const { return copied(cursors_, planLock_); }

std::unordered_map<UUID, std::int64_t> MixBus::monitorCursors() const { return copied(monitorCursors_, planLock_); }

bool MixBus::inputDidReset() const { return inputDidReset_; }

}  // namespace brindlemux
