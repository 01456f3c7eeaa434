#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "platform/pipewire/desktop_entries.h"
#include "platform/pipewire/device_catalog.h"
#include "platform/pipewire/object_ids.h"
#include "platform/pipewire/process_catalog.h"
#include "platform/pipewire/route_table.h"
#include "platform/pipewire/server_connection.h"
#include "platform/pipewire/server_mirror.h"
#include "platform/running_applications.h"
#include "platform/scheduler.h"

namespace brindlemux {

/// The server as the program knows it: the connection, the mirror of its objects with the devices and processes that
/// follow from it, the program's own routes, and who wants to hear of devices.
///
/// Threads: construct and destroy on the main thread; hold `lock()` for everything that does not say otherwise. What
/// the look-ups return is valid while the lock is held.
class ServerState final : public RunningApplications, private ServerConnection::Delegate {
 public:
  /// Connects, and waits for the server's picture at most two seconds.
  ServerState();
  ~ServerState() override;

  ServerConnection::Lock lock() const { return ServerConnection::Lock(connection_); }

  const ServerMirror& mirror() const noexcept { return mirror_; }
  ObjectIDs& ids() noexcept { return ids_; }
  RouteTable& routes() noexcept { return routes_; }

  const std::vector<DeviceRecord>& devices();
  /// An ID of one of the driver's devices stands for the device of that UID as long as the server lives: when the
  /// device is made anew, with other channels, who has opened it is not suddenly left with nothing.
  const DeviceRecord* device(AudioObjectID id);
  const DeviceRecord* deviceWithUID(std::string_view uid);
  /// The device that the session has chosen as the default output.
  const DeviceRecord* defaultOutputDevice();

  const std::vector<ProcessRecord>& processes();
  const ProcessRecord* process(AudioObjectID id);
  const ProcessRecord* processWithPID(std::int32_t pid);
  /// Whether the process is listed, or has been: who goes by a list of a moment ago names processes that have ended.
  bool isOrWasProcess(AudioObjectID id);

  /// The playback nodes of the listed processes, or of all others.
  enum class Selection { only, allExcept };
  std::vector<const ServerNode*> playbackNodes(Selection selection, const std::vector<AudioObjectID>& processes);

  const ServerMetadata* driverMetadata() const;
  /// Unknown until the driver has shown its list.
  AudioObjectID driverID();

  /// The rate in Hz that a node of the program's sees, or would see.
  double graphRateHz() const;

  /// The block size asked for on a device, in frames.
  std::uint32_t bufferFrames(AudioObjectID device) const;
  void setBufferFrames(AudioObjectID device, std::uint32_t frames) { bufferFrames_[device] = frames; }

  /// Calls `listener` through `queue` when a device has come, gone or changed its channels. Threads: the main thread.
  void addDeviceListener(Scheduler& queue, std::function<void()> listener);

  /// Waits until the server has answered everything sent before. Threads: the main thread, without the lock.
  bool roundTrip(std::chrono::milliseconds timeout) { return connection_.roundTrip(timeout); }

  /// Waits until the condition holds, which is asked with the lock held. Threads: the main thread, without the lock.
  bool waitUntil(const std::function<bool()>& condition, std::chrono::steady_clock::time_point deadline) {
    return connection_.waitUntil(condition, deadline);
  }

  /// Threads: any; takes the lock.
  std::optional<RunningApplication> withProcessID(std::int32_t pid) const override;

 private:
  void serverConnected(pw_core* core) override;
  void serverDisconnected() override;
  void serverUpdated() override;

  /// What the listeners of the device list are told about: ID, inputs, outputs.
  using DeviceSignature = std::vector<std::tuple<AudioObjectID, std::size_t, std::size_t>>;
  struct Listener {
    Scheduler* queue;
    std::function<void()> callback;
  };

  DesktopEntries entries_;
  ObjectIDs ids_;
  ServerConnection connection_;
  ServerMirror mirror_;
  RouteTable routes_;
  ProcessCatalog processCatalog_;
  std::vector<DeviceRecord> devices_;
  std::optional<std::uint64_t> devicesRevision_;
  /// The UIDs of the driver's devices, by every ID that they have had on this server.
  std::map<AudioObjectID, std::string> virtualUIDs_;
  std::vector<ProcessRecord> processes_;
  std::optional<std::uint64_t> processesRevision_;
  std::set<AudioObjectID> everListed_;
  std::map<AudioObjectID, std::uint32_t> bufferFrames_;
  std::vector<Listener> listeners_;
  DeviceSignature announced_;
};

}  // namespace brindlemux
