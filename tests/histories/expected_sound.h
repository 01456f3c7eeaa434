#pragma once

#include <map>
#include <string>
#include <vector>

#include "histories/history.h"

namespace brindlemux::history {

/// The constant level of each output channel.
using Levels = std::vector<double>;

/// How many channels the ring of each source has whose capture runs.
using RingChannels = std::map<UUID, std::int64_t>;

/// What a listener hears of a history that has settled, worked out from the graphs, the levels and what is plugged in.
class ExpectedSound {
 public:
  explicit ExpectedSound(const History& history) : history_(history), world_(history.world()) {}

  void addEngine(const Routing& routing, const RingChannels& rings);
  /// What processes play into devices by themselves.
  void addProcesses();
  /// What the monitors play; after everything else.
  void addMonitors();

  /// By device UID. A device into which nothing of ours plays may be missing.
  const std::map<std::string, Levels>& levels() const noexcept { return levels_; }

 private:
  double levelOf(const SourceNodeConfig& source, const RunningTaps& taps, std::int64_t channel) const;
  double levelOfProcess(AudioObjectID process, std::uint32_t channel) const;
  Levels& outputOf(const Pluggable& device);

  const History& history_;
  const World& world_;
  std::map<std::string, Levels> levels_;
};

}  // namespace brindlemux::history
