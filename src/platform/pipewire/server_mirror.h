#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <pipewire/pipewire.h>
#include <string>
#include <string_view>
#include <vector>

#include "platform/pipewire/property_map.h"

namespace brindlemux {

/// A node of the server.
struct ServerNode {
  std::uint32_t globalID = 0;
  /// Never reused by one server, unlike the global ID.
  std::int64_t serial = 0;
  PropertyMap properties;
  pw_node_state state = PW_NODE_STATE_CREATING;
  std::uint32_t inputPortCount = 0;
  std::uint32_t outputPortCount = 0;
  /// The channels that a playback stream's application plays, whatever the stream's ports make of them; 0 unknown.
  std::uint32_t streamChannels = 0;
  /// Whether state, port counts and the full properties have arrived.
  bool described = false;

  std::string_view name() const { return properties.value(PW_KEY_NODE_NAME); }
  std::string_view mediaClass() const { return properties.value(PW_KEY_MEDIA_CLASS); }
  bool isPlaybackStream() const { return mediaClass() == "Stream/Output/Audio"; }
  /// A client of the JACK interface has one node for everything that it plays and records, and no media class.
  bool isJackClient() const { return properties.value(PW_KEY_CLIENT_API) == "jack" && mediaClass().empty(); }
};

/// A port of a node. `index` counts per node and direction and gives the channel order.
struct ServerPort {
  std::uint32_t globalID = 0;
  std::int64_t serial = 0;
  std::uint32_t nodeID = 0;
  std::int64_t index = 0;
  pw_direction direction = PW_DIRECTION_INPUT;
  std::string channel;
  /// Carries samples, not notes or controls.
  bool isAudio = false;
};

/// A link between two ports, by their global IDs.
struct ServerLink {
  std::uint32_t outputNode = 0;
  std::uint32_t outputPort = 0;
  std::uint32_t inputNode = 0;
  std::uint32_t inputPort = 0;
};

/// A client of the server.
struct ServerClient {
  std::uint32_t globalID = 0;
  std::int64_t serial = 0;
  PropertyMap properties;
  bool described = false;
};

/// A metadata object of the server with the values of subject 0.
struct ServerMetadata {
  std::uint32_t globalID = 0;
  std::int64_t serial = 0;
  std::string name;
  std::map<std::string, std::string, std::less<>> values;
  pw_proxy* proxy = nullptr;
};

/// A copy of what the server's registry shows of nodes, ports, links, clients and metadata, kept current by its events.
///
/// Threads: under the connection's lock.
class ServerMirror {
 public:
  /// `changed` is called after every change, from within the server's events: it must only note it.
  explicit ServerMirror(std::function<void()> changed);
  ~ServerMirror();
  ServerMirror(const ServerMirror&) = delete;
  ServerMirror& operator=(const ServerMirror&) = delete;

  /// Starts mirroring; everything known arrives within two round trips.
  void attach(pw_core* core);
  /// Forgets everything and drops every proxy.
  void detach();

  /// Counts the changes; what was derived from the mirror holds while it stays the same.
  std::uint64_t revision() const noexcept { return revision_; }

  /// Counts the servers that have been mirrored: serial numbers start over with each.
  std::uint64_t session() const noexcept { return session_; }

  // In the order in which the server made them.
  std::vector<const ServerNode*> nodes() const;
  std::vector<const ServerClient*> clients() const;

  const ServerNode* node(std::uint32_t globalID) const;
  const ServerClient* client(std::uint32_t globalID) const;
  const ServerMetadata* metadata(std::string_view name) const;

  /// A node's ports of one direction in channel order.
  std::vector<const ServerPort*> ports(std::uint32_t nodeID, pw_direction direction) const;
  const ServerPort* port(std::uint32_t globalID) const;

  /// The links that leave a node, in no particular order.
  std::vector<ServerLink> linksFrom(std::uint32_t nodeID) const;

 private:
  struct Binding;
  static void onGlobal(void* data, std::uint32_t id, std::uint32_t permissions, const char* type, std::uint32_t version,
                       const spa_dict* properties);
  static void onGlobalRemove(void* data, std::uint32_t id);
  void bind(std::uint32_t id, const char* type, std::uint32_t version, const void* events, Binding& binding);

  void noteChange();
  void noteLinkChange(const ServerLink& link);

  std::function<void()> changed_;
  std::uint64_t revision_ = 0;
  std::uint64_t session_ = 0;
  pw_registry* registry_ = nullptr;
  spa_hook registryListener_{};
  std::map<std::uint32_t, ServerPort> ports_;
  std::map<std::uint32_t, ServerLink> links_;
  std::map<std::uint32_t, std::unique_ptr<Binding>> bindings_;
};

}  // namespace brindlemux
