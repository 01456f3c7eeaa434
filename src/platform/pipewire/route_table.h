#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
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

/// What becomes of a route when the server goes.
enum class RouteLife {
  returns,   ///< its node is made anew with the next server
  oneServer  ///< it never has a node again: the devices that it stands for come back as others
};

/// The program's own nodes and their links.
///
/// A route that ends leaves its node behind for as long as the server may still speak to it, which is until the node
/// is made and the server has answered what was asked after the links were given up. The library does not close the
/// descriptors in a message for a node that has gone: a program that destroyed its nodes at once would run out of them.
///
/// Threads: under the connection's lock.
class RouteTable {
 public:
  /// `changed` is called, from within the server's events, when the links need another look.
  explicit RouteTable(std::function<void()> changed);
  ~RouteTable();
  RouteTable(const RouteTable&) = delete;
  RouteTable& operator=(const RouteTable&) = delete;

  /// Starts a route under a key of the caller's. Returns whether its node could be made, or will be with the next
  /// server.
  bool start(std::uint64_t key, RouteLife life, FilterShape shape, std::unique_ptr<FilterProcess> process,
             Wiring wiring);
  /// Ends a route; no callback of it runs once this returns.
  void stop(std::uint64_t key);
  bool contains(std::uint64_t key) const { return routes_.contains(key); }

  /// Makes the nodes of the routes that return. A node that nobody needs is not made: the server's library may lose
  /// count of the memory that it shares when one goes while it is still being set up.
  void connect(pw_core* core);
  /// Drops all nodes and links, keeps the routes.
  void disconnect();
  /// Makes those nodes anew that other clients have deleted, and brings the links in line with what the routes want
  /// and the blocks that they ask for with the server's rate.
  void relink(const ServerMirror& mirror);

  /// The rate of the last cycle of any running node in Hz, or 0.
  std::uint32_t cycleRateHz() const;

 private:
  struct Route {
    RouteLife life = RouteLife::oneServer;
    FilterShape shape;
    std::unique_ptr<FilterProcess> process;
    Wiring wiring;
    std::unique_ptr<FilterNode> node;
  };
  /// The node of a route that has ended.
  struct Retired {
    std::unique_ptr<FilterNode> node;
    std::optional<int> question;  ///< what the server was asked once nothing was to reach the node any more
    bool isAnswered = false;
  };
  static void onCoreDone(void* data, std::uint32_t id, int sequence);
  bool realise(Route& route);
  void keepBlockSizes();
  void releaseRetired();

  std::function<void()> changed_;
  PortLinker linker_;
  CycleCounter counter_;
  pw_core* core_ = nullptr;
  spa_hook coreListener_{};
  std::map<std::uint64_t, Route> routes_;
  std::vector<Retired> retired_;
};

}  // namespace brindlemux
