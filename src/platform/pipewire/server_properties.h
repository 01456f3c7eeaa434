#pragma once

#include <optional>
#include <string>

#include "platform/audio_types.h"
#include "platform/pipewire/server_state.h"
#include "platform/pipewire/stream_registry.h"

namespace brindlemux {

/// Answers property reads and writes from the server's picture.
///
/// Threads: reads any, writes the main thread; takes the server's lock.
class ServerProperties {
 public:
  ServerProperties(ServerState& server, const StreamRegistry& streams) : server_(server), streams_(streams) {}

  OSStatus read(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& qualifier,
                PropertyValue& value);
  OSStatus write(AudioObjectID object, const AudioObjectPropertyAddress& address, const PropertyValue& value);

 private:
  std::optional<PropertyValue> ofSystem(FourCharCode selector, const PropertyValue& qualifier);
  std::optional<PropertyValue> ofDevice(const DeviceRecord& device, const AudioObjectPropertyAddress& address);
  std::optional<PropertyValue> ofDriver(const AudioObjectPropertyAddress& address);
  static std::optional<PropertyValue> ofProcess(const ProcessRecord& process, FourCharCode selector);
  OSStatus writeDriverList(const PropertyValue& value);
  OSStatus statusOfWrite(const std::string& text) const;
  /// Whether one of the devices that the list names is still published with another number of channels. Hold the lock.
  bool isAnyChanging(const std::string& text) const;
  OSStatus writeNominalRate(const PropertyValue& value);

  ServerState& server_;
  const StreamRegistry& streams_;
};

}  // namespace brindlemux
