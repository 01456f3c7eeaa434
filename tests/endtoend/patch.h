#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <pipewire/pipewire.h>
#include <span>
#include <string>
#include <vector>

#include "platform/pipewire/route_table.h"
#include "platform/pipewire/server_connection.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux::test {

/// A port by its node's name and its number in channel order.
struct PatchedPort {
  std::string node;
  std::size_t channel = 0;
};

/// What one cycle of a patch does: one pointer a port, null for one that nothing is linked to. Runs on a real-time
/// thread.
using PatchCycle =
    std::function<void(std::span<float* const> inputs, std::span<float* const> outputs, std::uint32_t frames)>;

/// A node of a test's own that hears what the listed ports play and plays to others. Ports that are not there are
/// linked as soon as they come, with the server itself too, so that it goes on listening while everything else is torn
/// down and built up.
///
/// Threads: the main thread; construct while the server is there.
class Patch final : private ServerConnection::Delegate {
 public:
  Patch(const std::string& name, std::vector<PatchedPort> heard, std::vector<PatchedPort> played, PatchCycle cycle);
  ~Patch() override;
  Patch(const Patch&) = delete;
  Patch& operator=(const Patch&) = delete;

 private:
  void serverConnected(pw_core* core) override;
  void serverDisconnected() override;
  void serverUpdated() override;

  ServerConnection connection_;
  ServerMirror mirror_;
  RouteTable routes_;
};

/// Steady levels on some ports: who hears them knows that the way is whole and its channels are in their places.
///
/// Threads: the main thread.
class LevelSource {
 public:
  LevelSource(const std::string& name, std::vector<PatchedPort> played, std::vector<float> levels);

 private:
  Patch patch_;
};

/// What some ports have played last, one sample a port; 0 as long as there was nothing since `forget`.
///
/// Threads: the main thread.
class LevelMeter {
 public:
  LevelMeter(const std::string& name, std::vector<PatchedPort> heard);

  void forget();
  std::vector<float> levels() const;

 private:
  std::vector<std::atomic<float>> levels_;
  Patch patch_;
};

}  // namespace brindlemux::test
