#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/pipewire/filter_node.h"
#include "platform/pipewire/port_linker.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

/// The ports of one of the program's own nodes as the server shows them, in channel order.
struct OwnPorts {
  std::vector<const ServerPort*> inputs;
  std::vector<const ServerPort*> outputs;
};

/// Adds the links that a node of the program's wants at this moment.
using Wiring = std::function<void(const OwnPorts& own, std::vector<LinkRequest>& links)>;

/// The program's own nodes and their links. A route is what shall run; its node exists whenever there is a server, so
/// that a route comes back by itself when the server does.
///
/// Threads: under the connection's lock.
class RouteTable {
 public:
  /// `changed` is called, from within the server's events, when the links need another look.
  explicit RouteTable(std::function<void()> changed);

  /// Starts a route under a key of the caller's. Returns whether its node could be made.
  bool start(std::uint64_t key, FilterShape shape, std::unique_ptr<FilterProcess> process, Wiring wiring);
  /// Ends a route; no callback of it runs once this returns.
  void stop(std::uint64_t key);
  bool contains(std::uint64_t key) const { return routes_.contains(key); }

  /// Makes the nodes of all routes.
  void connect(pw_core* core);
  /// Drops all nodes and links, keeps the routes.
  void disconnect();
  /// Brings the links in line with what the routes want.
  void relink(const ServerMirror& mirror);

  /// The rate of the last cycle of any running node in Hz, or 0.
  std::uint32_t cycleRateHz() const;

 private:
  struct Route {
    FilterShape shape;
    std::unique_ptr<FilterProcess> process;
    Wiring wiring;
    std::unique_ptr<FilterNode> node;
  };
  bool realise(Route& route);

  std::function<void()> changed_;
  PortLinker linker_;
  CycleCounter counter_;
  pw_core* core_ = nullptr;
  std::map<std::uint64_t, Route> routes_;
};

}  // namespace brindlemux
