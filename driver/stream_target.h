#pragma once

#include <cstdint>
#include <optional>
#include <pipewire/impl.h>
#include <string>
#include <string_view>

#include "driver/default_metadata.h"
#include "driver/server_node.h"

namespace brindlemux::driver {

/// The node that a stream asks to be linked to, by a number or a name, if it does: the session manager's metadata, in
/// which a person's choice is kept, goes before what the stream itself says.
///
/// Borrows the stream. Threads: the server's main loop, without going back to it while this is in use.
class StreamTarget {
 public:
  StreamTarget(pw_impl_node& stream, const DefaultMetadata& metadata);

  /// The serial named, where it is one.
  std::optional<std::uint64_t> serial() const noexcept { return key_ == Key::serial ? number_ : std::nullopt; }
  /// Whether it is that node by its number.
  bool is(const ServerNode& node) const noexcept;
  /// Whether it is a node of that name.
  bool isNamed(std::string_view name) const noexcept { return name_ == name; }
  /// Has the session manager link the stream to the node of that serial instead. The session manager remembers for
  /// later streams of the same program what is chosen in its metadata: it is left to do so only where it did before.
  void change(DefaultMetadata& metadata, std::uint64_t serial) const;

 private:
  enum class Key { serial, id };
  enum class Origin { metadata, stream };

  bool take(const char* value, Key key, Origin origin);

  pw_impl_node& stream_;
  std::optional<std::uint64_t> number_;
  std::optional<std::string> name_;
  Key key_ = Key::serial;
  Origin origin_ = Origin::stream;
};

}  // namespace brindlemux::driver
