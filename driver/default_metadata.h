#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <string>
#include <utility>

namespace brindlemux::driver {

/// A connection of the server to itself, by which the driver reads and writes the session manager's metadata object
/// "default". That object is implemented by the session manager's process: inside the server it cannot be used
/// directly.
///
/// The values are reliable when it gets ready, and for what is set here. Others' later changes may be missing: this
/// version of the server withholds a change from everybody else while some client is about to bind the object.
/// Owns the connection, which also ends when the server shuts down; then it is no longer ready. Threads: the server's
/// main loop. Errors: without a session manager it is not ready; it gets ready when there is one.
class DefaultMetadata {
 public:
  /// `ready` is called each time that it gets ready.
  DefaultMetadata(pw_context& context, std::function<void()> ready);
  ~DefaultMetadata();
  DefaultMetadata(const DefaultMetadata&) = delete;
  DefaultMetadata& operator=(const DefaultMetadata&) = delete;

  /// Whether the connection is there; one that has ended does not come back.
  bool connected() const noexcept { return core_ != nullptr; }
  /// Whether the values are known and can be set.
  bool ready() const noexcept { return ready_; }
  /// The value of a subject's key, until the next change; null when it has none.
  const char* value(std::uint32_t subject, const char* key) const;
  /// Only while ready(). Null removes the key.
  void set(std::uint32_t subject, const char* key, const char* value);

 private:
  void bind(std::uint32_t id);
  void take(std::uint32_t subject, const char* key, const char* value);

  static const pw_proxy_events coreProxyEvents;
  static const pw_core_events coreEvents;
  static const pw_proxy_events registryProxyEvents;
  static const pw_registry_events registryEvents;
  static const pw_proxy_events metadataProxyEvents;
  static const pw_metadata_events metadataEvents;
  std::function<void()> onReady_;
  pw_core* core_ = nullptr;
  pw_registry* registry_ = nullptr;
  pw_proxy* metadata_ = nullptr;
  spa_hook coreProxyListener_ = {};
  spa_hook coreListener_ = {};
  spa_hook registryProxyListener_ = {};
  spa_hook registryListener_ = {};
  spa_hook metadataProxyListener_ = {};
  spa_hook metadataListener_ = {};
  std::map<std::pair<std::uint32_t, std::string>, std::string> values_;
  int awaited_ = 0;
  bool ready_ = false;
};

}  // namespace brindlemux::driver
