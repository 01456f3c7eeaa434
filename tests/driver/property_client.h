#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>
#include <string>
#include <vector>

#include "support/private_server.h"

namespace brindlemux::test {

/// A native client of the driver's property: what the program does, with nothing in between. Unlike the command-line
/// tools it needs no answer of the session manager's.
///
/// Every request waits for the server's reply to the synchronisation that is sent right after it. Threads: one.
class PropertyClient {
 public:
  /// Throws std::runtime_error when there is no server or no driver.
  explicit PropertyClient(const PrivateServer& server);
  ~PropertyClient();
  PropertyClient(const PropertyClient&) = delete;
  PropertyClient& operator=(const PropertyClient&) = delete;

  /// Writes the driver's list and returns what the property shows once the reply has come.
  std::string write(const std::string& value);
  /// Sets any property, or removes it without a value, or all of the subject's without a key.
  void set(std::uint32_t subject, const char* key, const char* value);
  void clear();
  /// Waits for the server's reply; false when the connection has ended.
  bool synchronise();

  /// The global ids of the nodes, modules or metadata objects of that name.
  std::vector<std::uint32_t> globalsNamed(const std::string& name) const;
  /// Asks the server to destroy an object.
  void destroy(std::uint32_t id);

  /// What the property shows; nothing after it has been removed.
  const std::optional<std::string>& value() const noexcept { return value_; }
  /// How often the property has been shown.
  int showings() const noexcept { return showings_; }
  /// How often anything else than the property has been shown.
  int otherShowings() const noexcept { return otherShowings_; }

 private:
  void close();
  void bindDriver(std::uint32_t id);
  void show(std::uint32_t subject, const char* key, const char* type, const char* value);

  pw_main_loop* loop_ = nullptr;
  pw_context* context_ = nullptr;
  pw_core* core_ = nullptr;
  pw_registry* registry_ = nullptr;
  pw_metadata* metadata_ = nullptr;
  spa_hook coreListener_ = {};
  spa_hook registryListener_ = {};
  spa_hook metadataListener_ = {};
  std::map<std::uint32_t, std::string> names_;
  int awaited_ = 0;
  bool ended_ = false;
  std::optional<std::string> value_;
  int showings_ = 0;
  int otherShowings_ = 0;
};

}  // namespace brindlemux::test
