#pragma once

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

  /// Makes the nodes of every device anew, under the same names.
  void recreateAll();

 private:
  struct Entry {
    VirtualDeviceConfig config;
    std::unique_ptr<PublishedDevice> device;
  };

  std::unique_ptr<PublishedDevice> publish(const VirtualDeviceConfig& config);
  Entry* find(const std::string& uid);
  void recreateLost();
  void stepHandovers();

  pw_context& context_;
  LoopEvent lost_;
  LoopTimer handoverTimer_;
  std::vector<Entry> entries_;
  std::vector<Handover> handovers_;
  /// Only while something is handed over.
  std::optional<DefaultMetadata> metadata_;
};

}  // namespace brindlemux::driver
