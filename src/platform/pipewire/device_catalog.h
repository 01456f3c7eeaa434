#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/audio_types.h"
#include "platform/pipewire/object_ids.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

/// An audio device as the program sees it: one node, or the driver's pair of nodes.
struct DeviceRecord {
  AudioObjectID id = kAudioObjectUnknown;
  std::string uid;
  std::string name;
  /// Whether the driver publishes it.
  bool isVirtual = false;
  /// Ports that the program links from to capture, in channel order. Borrowed from the mirror.
  std::vector<const ServerPort*> capturePorts;
  /// Ports that the program links to for playback, in channel order. Borrowed from the mirror.
  std::vector<const ServerPort*> playbackPorts;
};

/// The devices of the mirrored server, in the order in which it made them. A device appears once its ports are known,
/// and a device of the driver once both its nodes have them; of two devices with one UID the one made last counts, so
/// that a device which the driver makes anew under its UID is there throughout. A node of another client that has a
/// virtual device's name, or names of that kind, is no device.
/// The records are valid until the mirror changes.
///
/// Threads: under the connection's lock.
std::vector<DeviceRecord> listDevices(const ServerMirror& mirror, ObjectIDs& ids);

}  // namespace brindlemux
