#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "histories/call_order.h"
#include "histories/random.h"
#include "histories/routing.h"
#include "histories/wanted.h"
#include "histories/world.h"

namespace brindlemux::history {

/// Several engines on one simulated server, driven as the controller drives them, and checked after every command.
///
/// Whatever is wrong is thrown as a Violation.
class History {
 public:
  explicit History(std::uint64_t seed);

  /// Does one random thing. Returns what it was.
  std::string step(std::int64_t number);
  /// All faults stop; everything that the graphs ask for must run and be heard, each route by itself. Then everything
  /// stops, and nothing may be left.
  void finish();

  // What the controller does.

  /// Reads the lists and has every engine reconcile.
  void refresh();
  /// Stores an edited graph and tells the device's engine.
  void updateGraph(Routing& routing, const DeviceGraph& graph);
  /// The driver lists the device: it has an engine from the next refresh on.
  void list(Routing& routing);
  /// The driver no longer lists the device.
  void discard(Routing& routing);
  void restartAll();

  // What happens to it.

  void endFaults();
  void advance(std::int64_t frames);
  enum class Readers { monitors, sources };
  void repositionReaders(Readers readers);
  /// Ends all faults and listens to everything.
  void settleAndListen();

  World& world() noexcept { return world_; }
  const World& world() const noexcept { return world_; }
  std::vector<Routing>& routings() noexcept { return routings_; }
  const std::vector<Routing>& routings() const noexcept { return routings_; }

 private:
  enum class Strictness { exact, disturbed };

  /// Runs one command of an engine, and checks what it called and what it made.
  template <typename Action>
  Strictness command(Routing& routing, const std::string& name, Action action);
  void reconcile(Routing& routing);
  void stopAll(Routing& routing);
  void account(Routing& routing, const Labels& before, const std::string& name);
  void checkRunning(const Routing& routing, const Wanted& wanted, Strictness strictness) const;
  void checkBlockSizes(const Routing& routing, const std::vector<std::string>& lines) const;
  void checkNothingLeaked() const;
  bool isDisturbed() const;

  std::uint64_t seed_;
  Random beginning_;
  World world_;
  std::vector<Routing> routings_;
  CallOrder calls_;
  /// The calls of the last command.
  std::vector<std::string> lastCalls_;
  /// What the server would not release.
  Labels refused_;
  Environment environment_;
  /// A call failed while the lists were read.
  bool listsAreDoubtful_ = false;
};

/// Looked at after every step; what it returns is a violation.
using Invariant = std::function<std::optional<std::string>(const History&)>;

}  // namespace brindlemux::history
