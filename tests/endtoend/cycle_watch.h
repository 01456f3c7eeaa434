#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <pipewire/pipewire.h>
#include <set>
#include <string>

#include "support/private_server.h"
#include "support/server_client.h"

struct pw_profiler;
struct spa_pod;

namespace brindlemux::test {

/// Which node drives which others, as the server's profiler tells it cycle by cycle.
///
/// Threads: one; the events have their own.
class CycleWatch {
 public:
  /// Throws std::runtime_error when there is no server.
  explicit CycleWatch(const PrivateServer& server);
  ~CycleWatch();
  CycleWatch(const CycleWatch&) = delete;
  CycleWatch& operator=(const CycleWatch&) = delete;

  /// For each node's name the names of the nodes that have driven it since the last call, itself for a driver.
  std::map<std::string, std::set<std::string>> takeDrivers();

 private:
  void bind(std::uint32_t id);
  void take(const spa_pod* profile);

  ServerClient client_;
  pw_registry* registry_ = nullptr;
  pw_profiler* profiler_ = nullptr;
  spa_hook registryHook_ = {};
  spa_hook profilerHook_ = {};
  std::mutex mutex_;
  std::map<std::string, std::set<std::string>> drivers_;
};

}  // namespace brindlemux::test
