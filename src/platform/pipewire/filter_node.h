#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <pipewire/filter.h>
#include <pipewire/pipewire.h>
#include <span>
#include <string>
#include <vector>

#include "platform/pipewire/cycle_counter.h"

namespace brindlemux {

/// The most frames that one cycle of the server can have.
inline constexpr std::uint32_t maximumCycleFrames = 8192;

/// What a filter does with one cycle's audio.
class FilterProcess {
 public:
  virtual ~FilterProcess() = default;

  /// One pointer a port, each to `frames` floats, or null for a port that nothing is linked to.
  /// Threads: the data thread; must not allocate, block or throw.
  virtual void process(std::span<float* const> inputs, std::span<float* const> outputs,
                       std::uint32_t frames) noexcept = 0;

  /// The server has left the node out of cycles of that many frames in all, in which it called other nodes of the
  /// program; comes before the next `process`.
  /// Threads: as `process`.
  virtual void missed(std::uint64_t /*frames*/) noexcept {}
};

/// How a filter presents itself.
struct FilterShape {
  std::string name;
  std::string description;
  std::uint32_t inputPorts = 0;
  std::uint32_t outputPorts = 0;
  std::uint32_t latencyFrames = 0;  ///< the block size asked for
  std::uint32_t latencyRateHz = 0;  ///< the rate that those frames are counted at
};

/// A node of the program's own with one mono port a channel, scheduled in the program's group so that all its nodes run
/// under one driver. It runs whether or not anything is linked to it.
///
/// Threads: construct and destroy under the connection's lock; once destroyed, no callback of it runs.
class FilterNode {
 public:
  /// `process` and `counter`, which all nodes share, are borrowed; `changed` is called when the node has reached
  /// another state, and by the data thread when the server has begun to run at another rate: it must not block.
  FilterNode(pw_core* core, const FilterShape& shape, FilterProcess& process, CycleCounter& counter,
             std::function<void()> changed);
  ~FilterNode();
  FilterNode(const FilterNode&) = delete;
  FilterNode& operator=(const FilterNode&) = delete;

  /// Takes the node away from its process: no call of it runs once this returns. The node itself goes on, silent, until
  /// it is destroyed.
  void retire();

  /// Takes a node that the server has made out of its cycles.
  void deactivate();

  /// Whether the server was asked for the node.
  bool isValid() const noexcept { return filter_ != nullptr; }

  /// Asks for another block size, or for the same one at another rate. The node runs on.
  void askForLatency(std::uint32_t frames, std::uint32_t rateHz);

  /// Whether the server has taken away the node, which it had made: any client may ask for that.
  bool isLost() const noexcept { return isLost_; }

  /// Whether the server has answered: it has made the node, or refused it.
  bool isAnswered() const { return globalID() != SPA_ID_INVALID || isRefused_; }

  /// The node's global ID, or SPA_ID_INVALID before the server has told it.
  std::uint32_t globalID() const;

  /// The rate of the last cycle in Hz, 0 before the first. Threads: any.
  std::uint32_t cycleRateHz() const noexcept { return cycleRateHz_.load(std::memory_order_relaxed); }
  /// The length of the last cycle in frames, 0 before the first. Threads: any.
  std::uint32_t cycleFrames() const noexcept { return cycleFrames_.load(std::memory_order_relaxed); }

 private:
  static void onState(void* data, pw_filter_state old, pw_filter_state state, const char* error);
  static void onProcess(void* data, spa_io_position* position);
  void addPorts(pw_direction direction, std::uint32_t count, std::vector<void*>& ports);
  float* inputSamples(std::size_t port, std::uint32_t frames) noexcept;
  void playSilence(std::uint32_t frames) noexcept;

  pw_core* core_;
  pw_data_loop* dataLoop_;
  /// Null once the node is retired. Threads: written before the first cycle, and then on the data thread.
  FilterProcess* process_;
  std::function<void()> changed_;
  pw_filter* filter_ = nullptr;
  spa_hook listener_{};
  std::vector<void*> inputPorts_;
  std::vector<void*> outputPorts_;
  std::vector<float*> inputs_;
  std::vector<float*> outputs_;
  /// For each input port what a buffer shorter than the cycle is completed in.
  std::vector<std::vector<float>> completed_;
  bool wasThere_ = false;
  bool isLost_ = false;
  bool isRefused_ = false;
  CycleCounter& counter_;
  NodeCycles cycles_;
  BlockSettling settling_;
  bool hasTakenPart_ = false;
  std::atomic<std::uint32_t> cycleRateHz_{0};
  std::atomic<std::uint32_t> cycleFrames_{0};
};

}  // namespace brindlemux
