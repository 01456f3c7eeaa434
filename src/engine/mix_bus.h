#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "engine/source_ring.h"
#include "engine/tap.h"
#include "engine/unfair_lock.h"
#include "model/device_graph.h"
#include "model/uuid.h"

namespace brindlemux {

/// One source's part of the virtual device's mix.
struct RenderEntry {
  /// Shared with the capture, so that the ring outlives a capture that stops while the plan is in force.
  std::shared_ptr<SourceRing> ring;
  UUID cursorKey;
  /// Ordered by output, the taps of one output as the graph orders their wires.
  std::vector<Tap> taps;
};

/// The mix of one virtual device: plans compiled from its graph on the main thread, executed on the render threads.
/// Renders see the old plans or the new ones, never a mixture.
///
/// Lock order: planLock, then a ring's lock; meterLock is never held together with another.
class MixBus {
 public:
  using Rings = std::unordered_map<UUID, std::shared_ptr<SourceRing>>;

  /// Compiles the graph. `rings` holds the ring of every source whose capture runs. Readers of sources and monitors
  /// that stay in the plans keep their cursors; those that enter start anew.
  ///
  /// Threads: the main thread.
  void rebuildPlans(const DeviceGraph& graph, const Rings& rings, std::int64_t deviceChannels);

  /// Mixes every source into the virtual device's channels, limits the result and records its peaks.
  ///
  /// Shapes:  one cleared buffer of at least `frames` floats a channel.
  /// Threads: the virtual output's render thread. Takes planLock, each ring's lock, then meterLock; never allocates.
  void renderVirtual(std::span<float* const> buffers, std::int64_t frames) noexcept;

  /// Adds the virtual device's loop-back into a monitor's channels, as wired.
  ///
  /// Shapes:  one cleared buffer of at least `frames` floats a channel.
  /// Threads: that monitor's render thread. Takes planLock and the ring's lock; never allocates.
  void renderMonitor(const UUID& monitor, std::span<float* const> buffers, std::int64_t frames) noexcept;

  /// Replaces the loop-back ring; the next rebuild repositions every monitor's cursor. Threads: the main thread.
  void setMonitorInputRing(std::shared_ptr<SourceRing> ring);
  /// Threads: the main thread.
  void dropMonitorInputRing();

  /// Empties the plans, the cursors and the active sets and forgets the peaks. Threads: the main thread.
  void clear();

  /// The largest magnitude per output channel since the last call. Threads: the main thread.
  std::vector<float> takeOutputPeaks();

  // What the plans hold, for tests and diagnostics. Threads: the main thread.
  std::vector<RenderEntry> virtualPlan() const;
  std::unordered_map<UUID, std::vector<Tap>> monitorPlans() const;
  std::unordered_map<UUID, std::int64_t> cursors() const;
  std::unordered_map<UUID, std::int64_t> monitorCursors() const;
  bool inputDidReset() const;

 private:
  mutable UnfairLock planLock_;
  std::vector<RenderEntry> virtualPlan_;
  std::unordered_map<UUID, std::vector<Tap>> monitorPlans_;
  std::unordered_map<UUID, std::int64_t> cursors_;
  /// For each entry of the virtual plan its cursor in `cursors_`, so that a render looks nothing up.
  std::vector<std::int64_t*> planCursors_;
  std::unordered_map<UUID, std::int64_t> monitorCursors_;
  std::unordered_set<UUID> activePlanSources_;
  std::unordered_set<UUID> activePlanMonitors_;
  bool inputDidReset_ = false;
  std::shared_ptr<SourceRing> monitorInputRing_;

  UnfairLock meterLock_;
  std::vector<float> outputPeakAccum_;
};

}  // namespace brindlemux
