#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/audio_types.h"
#include "platform/pipewire/application_finder.h"
#include "platform/pipewire/desktop_entries.h"
#include "platform/pipewire/object_ids.h"
#include "platform/pipewire/process_files.h"
#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

/// One process with everything that it owns on the server.
struct ProcessRecord {
  AudioObjectID id = kAudioObjectUnknown;
  /// The process ID; a negative stand-in for a process in a sandbox that the kernel does not vouch for, since the
  /// number that it states counts within its sandbox alone.
  std::int32_t pid = -1;
  std::string bundleID;
  /// What a person would call it; empty for a process that never had an audio stream.
  std::string displayName;
  bool isPlaying = false;
  /// Its playback streams, and its nodes of the JACK interface that have outputs. Borrowed from the mirror.
  std::vector<const ServerNode*> playbackNodes;
};

/// Groups the mirrored server's clients and streams by process.
///
/// Threads: under the connection's lock.
class ProcessCatalog {
 public:
  ProcessCatalog(const ServerMirror& mirror, ObjectIDs& ids, const DesktopEntries& entries)
      : mirror_(mirror), ids_(ids), finder_(entries, files_) {}

  /// Every process with a client, in the order of their first clients. Valid until the mirror changes.
  std::vector<ProcessRecord> list();

  /// The playback nodes whose process is not known.
  std::vector<const ServerNode*> playbackNodesWithoutProcess();

 private:
  const ServerClient* clientOf(const ServerNode& node) const;
  bool isPlaybackNode(const ServerNode& node) const;
  bool isSounding(const ServerNode& node) const;
  /// Whether all that tells a stream's process has arrived.
  bool isDescribed(const ServerNode& node) const;
  std::optional<std::int32_t> processOf(const ServerClient& client);
  std::optional<std::int32_t> processOf(const ServerNode& node);
  std::int32_t standIn(std::string_view sandbox, std::int64_t statedPID);
  const std::string& processKey(std::int32_t pid);
  const std::optional<DesktopEntry>& applicationOf(const std::string& key, std::int32_t pid, const std::string& binary);

  const ServerMirror& mirror_;
  ObjectIDs& ids_;
  ProcessFiles files_;
  ApplicationFinder finder_;
  /// Keys of the processes that have had a stream: their clients stay applications while they are silent.
  std::set<std::string, std::less<>> applications_;
  std::map<std::int32_t, std::string> keys_;
  /// What has been found of a process under the name that it had then: looking it up reads files.
  struct KnownEntry {
    std::string binary;
    std::optional<DesktopEntry> entry;
  };
  std::map<std::string, std::optional<KnownEntry>, std::less<>> entriesOfProcesses_;
  /// The stand-ins of processes in sandboxes, by sandbox and the number that they state.
  std::map<std::pair<std::string, std::int64_t>, std::int32_t> standIns_;
  std::int32_t nextStandIn_ = -100;
};

}  // namespace brindlemux
