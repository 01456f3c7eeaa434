#pragma once

#include <cstdint>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

namespace brindlemux::driver {

/// A connection of the server to itself, by which the driver writes into the session manager's metadata object
/// "default". That object is implemented by the session manager's process: inside the server it cannot be written
/// directly.
///
/// Owns the connection, which also ends when the server shuts down; then it is no longer ready. Threads: the server's
/// main loop. Errors: without a session manager it never gets ready.
class DefaultMetadata {
 public:
  explicit DefaultMetadata(pw_context& context);
  ~DefaultMetadata();
  DefaultMetadata(const DefaultMetadata&) = delete;
  DefaultMetadata& operator=(const DefaultMetadata&) = delete;

  bool ready() const noexcept { return metadata_ != nullptr; }
  /// Asks the session manager to link the stream to the node with that serial. Only while ready().
  void moveStream(std::uint32_t streamNode, std::uint64_t targetSerial);

 private:
  void bind(std::uint32_t id);

  static const pw_proxy_events coreProxyEvents;
  static const pw_proxy_events registryProxyEvents;
  static const pw_registry_events registryEvents;
  static const pw_proxy_events metadataProxyEvents;
  pw_core* core_ = nullptr;
  pw_registry* registry_ = nullptr;
  pw_proxy* metadata_ = nullptr;
  spa_hook coreProxyListener_ = {};
  spa_hook registryProxyListener_ = {};
  spa_hook registryListener_ = {};
  spa_hook metadataProxyListener_ = {};
};

}  // namespace brindlemux::driver
