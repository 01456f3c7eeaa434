#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "driver/default_metadata.h"
#include "driver/handover.h"
#include "driver/loop_event.h"
#include "driver/loop_timer.h"
#include "driver/published_device.h"
#include "model/virtual_device_config.h"

namespace brindlemux::driver {

/// The virtual devices in force, in list order, and their nodes.
///
/// Owns the nodes; borrows the context. Threads: the server's main loop.
class DeviceList {
 public:
  explicit DeviceList(pw_context& context);

  std::vector<VirtualDeviceConfig> configs() const;

  /// Makes the devices what the list says: adds, renames, removes, and replaces those whose channel count differs.
  /// Devices that stay as they are do not notice. Returns false, with nothing changed, when the server refuses a node.
  /// The UIDs are distinct.
  bool apply(const std::vector<VirtualDeviceConfig>& configs);

  /// Makes the nodes of every device anew, under the same names: a session manager that starts leaves those alone that
  /// another one has configured, and then links nothing at all. Streams that named the old nodes by number are told the
  /// new ones when it is back.
  void recreateAll();

 private:
  struct Entry {
    VirtualDeviceConfig config;
    std::unique_ptr<PublishedDevice> device;
  };
  struct Role {
    std::string uid;
    const ServerNode& (PublishedDevice::*node)() const;
  };

  std::unique_ptr<PublishedDevice> publish(const VirtualDeviceConfig& config);
  Entry* find(const std::string& uid);
  void recreateLost();
  void remember(const Entry& entry);
  void handOver(Entry& entry);
  void connect();
  void sessionManagerReturned();
  void tellNewNumbers();
  bool isAwaited(const Entry& entry) const;
  void relinkStreams();
  bool isHandedOver(const std::string& uid) const;
  void stepHandovers();

  pw_context& context_;
  LoopEvent lost_;
  LoopTimer handoverTimer_;
  LoopTimer relinkTimer_;
  int relinkingsLeft_ = 0;
  std::vector<Entry> entries_;
  std::vector<Handover> handovers_;
  /// What those serials were that belonged to the nodes of a device before others took their place.
  std::map<std::uint64_t, Role> former_;
  /// From the first time on that nodes took the place of others.
  std::optional<DefaultMetadata> metadata_;
};

}  // namespace brindlemux::driver
