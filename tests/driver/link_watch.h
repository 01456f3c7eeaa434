#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <pipewire/pipewire.h>
#include <set>
#include <string>
#include <utility>

#include "support/private_server.h"
#include "support/server_client.h"

namespace brindlemux::test {

/// Sees every link that the server makes, however short its life, by the names of the nodes that it joins. A dump would
/// miss those between two of them.
///
/// Threads: one; the events have their own.
class LinkWatch {
 public:
  using Pair = std::pair<std::string, std::string>;

  /// Returns when it knows what is there. Throws std::runtime_error when there is no server.
  explicit LinkWatch(const PrivateServer& server);
  ~LinkWatch();
  LinkWatch(const LinkWatch&) = delete;
  LinkWatch& operator=(const LinkWatch&) = delete;

  /// The nodes that a node of that name has been linked to, from or to.
  std::set<std::string> everLinkedTo(const std::string& name) const;
  /// The least number of ports that the nodes of that name had together since watchPorts() asked for it.
  void watchPorts(const std::string& name);
  int fewestPorts() const;

 private:
  static const pw_registry_events registryEvents;
  void add(std::uint32_t id, const char* type, const spa_dict& properties);
  void remove(std::uint32_t id);
  void countPorts();

  ServerClient client_;
  pw_registry* registry_ = nullptr;
  spa_hook listener_ = {};
  spa_hook coreListener_ = {};
  bool begun_ = false;
  mutable std::mutex mutex_;
  std::map<std::uint32_t, std::string> names_;
  std::map<std::uint32_t, std::uint32_t> nodeOfPort_;
  std::set<Pair> links_;
  std::string watched_;
  int fewestPorts_ = 0;
};

}  // namespace brindlemux::test
