#pragma once

#include <cstddef>
#include <pipewire/pipewire.h>
#include <stdexcept>
#include <string>

#include "platform/pipewire/server_connection.h"

namespace brindlemux::test {

/// What is plugged in.
struct PluggedShape {
  std::string name;
  std::string mediaClass;  ///< "Audio/Sink", or "Audio/Source/Virtual" for an input
  int channels = 2;
  std::string positions;  ///< "FL,FR"; empty for a device that does not tell
  int rateHz = 48000;
};

/// A stand-in for a device that can be plugged in and out while the server runs; it is there as long as this object.
///
/// Threads: the main thread.
class PluggedDevice final : private ServerConnection::Delegate {
 public:
  explicit PluggedDevice(const PluggedShape& shape) : connection_(*this) {
    connection_.start();
    const ServerConnection::Lock guard(connection_);
    pw_properties* const properties = pw_properties_new(
        "factory.name", "support.null-audio-sink", PW_KEY_NODE_NAME, shape.name.c_str(), PW_KEY_NODE_DESCRIPTION,
        shape.name.c_str(), PW_KEY_MEDIA_CLASS, shape.mediaClass.c_str(), PW_KEY_OBJECT_LINGER, "false",
        // Less than the devices that stay: neither the default nor the clock changes with it.
        PW_KEY_PRIORITY_SESSION, "100", PW_KEY_PRIORITY_DRIVER, "100",
        // A session manager of this version does not survive it when a device goes that it is about to suspend.
        "session.suspend-timeout-seconds", "0", nullptr);
    pw_properties_setf(properties, "audio.channels", "%d", shape.channels);
    pw_properties_setf(properties, "audio.rate", "%d", shape.rateHz);
    if (!shape.positions.empty()) pw_properties_set(properties, "audio.position", shape.positions.c_str());
    pw_core* const core = connection_.core();
    if (core != nullptr) {
      proxy_ = static_cast<pw_proxy*>(
          pw_core_create_object(core, "adapter", PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &properties->dict, 0));
    }
    pw_properties_free(properties);
    if (proxy_ == nullptr) throw std::runtime_error("cannot plug in " + shape.name);
  }
  ~PluggedDevice() override { connection_.stop(); }
  PluggedDevice(const PluggedDevice&) = delete;
  PluggedDevice& operator=(const PluggedDevice&) = delete;

 private:
  void serverConnected(pw_core*) override {}
  void serverDisconnected() override {
    if (proxy_ != nullptr) pw_proxy_destroy(proxy_);
    proxy_ = nullptr;
  }
  void serverUpdated() override {}

  ServerConnection connection_;
  pw_proxy* proxy_ = nullptr;
};

}  // namespace brindlemux::test
