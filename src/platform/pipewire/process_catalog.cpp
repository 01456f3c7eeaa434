#include "platform/pipewire/process_catalog.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>

namespace brindlemux {
namespace {

constexpr const char* portalApplicationKey = "pipewire.access.portal.app_id";

bool isRecordingStream(const ServerNode& node) { return node.mediaClass() == "Stream/Input/Audio"; }

/// Names that toolkits and plug-ins give to whatever uses them.
bool isGenericName(std::string_view name) {
  constexpr std::array<std::string_view, 6> generic = {"SDL Application", "ALSA Playback", "audio stream",
                                                       "Playback Stream", "PipeWire",      "Music"};
  return name.empty() || name.starts_with("Lavf") || name.starts_with("PipeWire ALSA") ||
         std::find(generic.begin(), generic.end(), name) != generic.end();
}

/// The first non-empty value of a property over a process's clients and streams.
class Identity {
 public:
  void add(const PropertyMap& properties) { maps_.push_back(&properties); }

  std::string_view first(std::string_view key) const {
    for (const PropertyMap* map : maps_) {
      if (const std::string_view value = map->value(key); !value.empty()) return value;
    }
    return {};
  }

  std::string_view firstSpecificName() const {
    for (const PropertyMap* map : maps_) {
      if (const std::string_view name = map->value(PW_KEY_APP_NAME); !isGenericName(name)) return name;
    }
    return {};
  }

 private:
  std::vector<const PropertyMap*> maps_;
};

/// The number of a process, which is what a client says of itself where the kernel does not vouch for it.
std::optional<std::int32_t> processNumber(std::optional<std::int64_t> number) {
  if (!number || *number <= 0 || *number > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
  return static_cast<std::int32_t>(*number);
}

std::string baseName(std::string_view path) { return std::filesystem::path(path).filename().string(); }

}  // namespace

std::int32_t ProcessCatalog::standIn(std::string_view sandbox, std::int64_t statedPID) {
  const auto [entry, isFirst] = standIns_.try_emplace({std::string(sandbox), statedPID}, nextStandIn_);
  if (isFirst) --nextStandIn_;
  return entry->second;
}

std::optional<std::int32_t> ProcessCatalog::processOf(const ServerClient& client) {
  // Until a client has described itself, one of the pulse server's looks like the pulse server.
  if (!client.described) return std::nullopt;
  // The kernel vouches for a client's process; the pulse server's clients all carry the pulse server's.
  const bool isPulse = client.properties.value(PW_KEY_CLIENT_API) == "pipewire-pulse";
  const auto stated = client.properties.number(PW_KEY_APP_PROCESS_ID);
  const auto vouched = client.properties.number(PW_KEY_SEC_PID);
  // Most sandboxes number their application 2: without their names all of them would be one process.
  const std::string_view sandbox = client.properties.value(portalApplicationKey);
  if (isPulse && stated && !sandbox.empty()) return standIn(sandbox, *stated);
  return processNumber(isPulse ? (stated ? stated : vouched) : (vouched ? vouched : stated));
}

const ServerClient* ProcessCatalog::clientOf(const ServerNode& node) const {
  const auto clientID = node.properties.number(PW_KEY_CLIENT_ID);
  return clientID ? mirror_.client(static_cast<std::uint32_t>(*clientID)) : nullptr;
}

bool ProcessCatalog::isDescribed(const ServerNode& node) const {
  const ServerClient* const client = clientOf(node);
  return node.described && (client == nullptr || client->described);
}

std::optional<std::int32_t> ProcessCatalog::processOf(const ServerNode& node) {
  if (const ServerClient* const client = clientOf(node)) {
    if (const auto pid = processOf(*client)) return pid;
  }
  return processNumber(node.properties.number(PW_KEY_APP_PROCESS_ID));
}

bool ProcessCatalog::isPlaybackNode(const ServerNode& node) const {
  if (node.isPlaybackStream()) return true;
  if (!node.isJackClient()) return false;
  const auto ports = mirror_.ports(node.globalID, PW_DIRECTION_OUTPUT);
  return std::any_of(ports.begin(), ports.end(), [](const ServerPort* port) { return port->isAudio; });
}

bool ProcessCatalog::isSounding(const ServerNode& node) const {
  // A client of the JACK interface runs for as long as it is there.
  if (node.isJackClient()) return !mirror_.linksFrom(node.globalID).empty();
  return node.state == PW_NODE_STATE_RUNNING;
}

const std::string& ProcessCatalog::processKey(std::int32_t pid) {
  const auto known = keys_.find(pid);
  if (known != keys_.end()) return known->second;
  return keys_.emplace(pid, "process:" + std::to_string(pid) + ":" + files_.startTime(pid)).first->second;
}

const std::optional<DesktopEntry>& ProcessCatalog::applicationOf(const std::string& key, std::int32_t pid,
                                                                 const std::string& binary) {
  // A client tells its binary a while after it has come.
  auto& known = entriesOfProcesses_[key];
  if (!known || known->binary != binary) known = KnownEntry{binary, finder_.find(pid, binary)};
  return known->entry;
}

std::vector<ProcessRecord> ProcessCatalog::list() {
  std::vector<ProcessRecord> records;
  std::map<std::int32_t, std::size_t> positions;
  std::vector<Identity> identities;
  std::vector<bool> hasStream;

  const auto position = [&](std::int32_t pid) {
    const auto [entry, isFirst] = positions.try_emplace(pid, records.size());
    if (isFirst) {
      records.push_back({.pid = pid});
      identities.emplace_back();
      hasStream.push_back(false);
    }
    return entry->second;
  };

  for (const ServerClient* client : mirror_.clients()) {
    if (const auto pid = processOf(*client)) identities[position(*pid)].add(client->properties);
  }
  for (const ServerNode* node : mirror_.nodes()) {
    const bool isPlayer = isPlaybackNode(*node);
    if (!isPlayer && !isRecordingStream(*node)) continue;
    const auto pid = processOf(*node);
    if (!pid) continue;
    const std::size_t at = position(*pid);
    identities[at].add(node->properties);
    hasStream[at] = true;
    if (!isPlayer) continue;
    records[at].playbackNodes.push_back(node);
    if (isSounding(*node)) records[at].isPlaying = true;
  }

  // A process that has left takes its key along, so that a later one with its number gets an identity of its own.
  std::erase_if(keys_, [&](const auto& entry) {
    if (positions.contains(entry.first)) return false;
    applications_.erase(entry.second);
    entriesOfProcesses_.erase(entry.second);
    return true;
  });
  std::erase_if(standIns_, [&](const auto& entry) { return !positions.contains(entry.second); });

  for (std::size_t i = 0; i < records.size(); ++i) {
    ProcessRecord& record = records[i];
    const Identity& identity = identities[i];
    const std::string& key = processKey(record.pid);
    record.id = ids_.of(key);
    std::string binary = baseName(identity.first(PW_KEY_APP_PROCESS_BINARY));
    if (binary.empty()) binary = files_.executable(record.pid).filename().string();
    const auto entry = applicationOf(key, record.pid, binary);

    if (const auto portal = identity.first(portalApplicationKey); !portal.empty()) {
      record.bundleID = portal;
    } else if (const auto application = identity.first(PW_KEY_APP_ID); !application.empty()) {
      record.bundleID = application;
    } else {
      record.bundleID = entry ? entry->id : binary;
    }

    if (hasStream[i]) applications_.insert(key);
    if (!applications_.contains(key)) continue;
    if (entry) {
      record.displayName = entry->name;
    } else if (const auto name = identity.firstSpecificName(); !name.empty()) {
      record.displayName = name;
    } else {
      record.displayName = binary;
    }
  }
  return records;
}

std::vector<const ServerNode*> ProcessCatalog::playbackNodesWithoutProcess() {
  std::vector<const ServerNode*> streams;
  for (const ServerNode* node : mirror_.nodes()) {
    if (isPlaybackNode(*node) && isDescribed(*node) && !processOf(*node)) streams.push_back(node);
  }
  return streams;
}

}  // namespace brindlemux
