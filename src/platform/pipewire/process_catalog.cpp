#include "platform/pipewire/process_catalog.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace brindlemux {
namespace {

constexpr const char* portalApplicationKey = "pipewire.access.portal.app_id";

bool isPlaybackStream(const ServerNode& node) { return node.mediaClass() == "Stream/Output/Audio"; }
bool isAudioStream(const ServerNode& node) {
  return isPlaybackStream(node) || node.mediaClass() == "Stream/Input/Audio";
}

/// When the process started, in the kernel's ticks: tells a process from an earlier one with its number. Empty where
/// the process cannot be seen.
std::string startTime(std::int32_t pid) {
  std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
  std::string line;
  std::getline(file, line);
  // The command's name stands in parentheses and may hold anything; the start time is the 20th field behind it.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return {};
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string field;
  for (int i = 0; i < 20; ++i) fields >> field;
  return field;
}

std::string executableName(std::int32_t pid) {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/exe", error);
  return error ? std::string{} : path.filename().string();
}

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
  const auto pid = isPulse ? (stated ? stated : vouched) : (vouched ? vouched : stated);
  if (!pid || *pid <= 0) return std::nullopt;
  return static_cast<std::int32_t>(*pid);
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
  const auto stated = node.properties.number(PW_KEY_APP_PROCESS_ID);
  if (!stated || *stated <= 0) return std::nullopt;
  return static_cast<std::int32_t>(*stated);
}

const std::string& ProcessCatalog::processKey(std::int32_t pid) {
  const auto known = keys_.find(pid);
  if (known != keys_.end()) return known->second;
  return keys_.emplace(pid, "process:" + std::to_string(pid) + ":" + startTime(pid)).first->second;
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
    if (!isAudioStream(*node)) continue;
    const auto pid = processOf(*node);
    if (!pid) continue;
    const std::size_t at = position(*pid);
    identities[at].add(node->properties);
    hasStream[at] = true;
    if (!isPlaybackStream(*node)) continue;
    records[at].playbackStreams.push_back(node);
    if (node->state == PW_NODE_STATE_RUNNING) records[at].isPlaying = true;
  }

  // A process that has left takes its key along, so that a later one with its number gets an identity of its own.
  std::erase_if(keys_, [&](const auto& entry) {
    if (positions.contains(entry.first)) return false;
    applications_.erase(entry.second);
    return true;
  });
  std::erase_if(standIns_, [&](const auto& entry) { return !positions.contains(entry.second); });

  for (std::size_t i = 0; i < records.size(); ++i) {
    ProcessRecord& record = records[i];
    const Identity& identity = identities[i];
    const std::string& key = processKey(record.pid);
    record.id = ids_.of(key);
    std::string binary = baseName(identity.first(PW_KEY_APP_PROCESS_BINARY));
    if (binary.empty()) binary = executableName(record.pid);
    const auto entry = entries_.forBinary(binary);

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

std::vector<const ServerNode*> ProcessCatalog::playbackStreamsWithoutProcess() {
  std::vector<const ServerNode*> streams;
  for (const ServerNode* node : mirror_.nodes()) {
    if (isPlaybackStream(*node) && isDescribed(*node) && !processOf(*node)) streams.push_back(node);
  }
  return streams;
}

}  // namespace brindlemux
