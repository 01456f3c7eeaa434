#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <pipewire/pipewire.h>
#include <span>
#include <utility>

#include "platform/pipewire/server_mirror.h"

namespace brindlemux {

enum class LinkMode {
  waking,  ///< keeps both ends running
  passive  ///< carries sound while something else keeps the ends running
};

/// A link that shall exist between two ports of the server. The ports are borrowed from the mirror.
struct LinkRequest {
  const ServerPort* output = nullptr;
  const ServerPort* input = nullptr;
  LinkMode mode = LinkMode::waking;
};

/// The most links that one input port is given. The server's library mixes at most 128 into a port of a client, and
/// crashes the client when it takes away a port that was given more; the rest is room for links that are on their way.
inline constexpr std::size_t mostLinksPerInput = 120;

/// Owns the links of the program's nodes: makes the ones that are wanted and missing, removes the ones that are no
/// longer wanted. A link that somebody else removes is made again; one that the server refuses is tried again only when
/// one of its ports has been replaced. Links beyond what an input port takes wait for others to go.
///
/// Threads: under the connection's lock.
class PortLinker {
 public:
  /// `changed` is called when a link has gone, from within the server's events.
  explicit PortLinker(std::function<void()> changed);
  ~PortLinker();
  PortLinker(const PortLinker&) = delete;
  PortLinker& operator=(const PortLinker&) = delete;

  void apply(pw_core* core, std::span<const LinkRequest> wanted);
  void clear();

 private:
  struct Link;
  /// Serial numbers of the output and the input port.
  using Key = std::pair<std::int64_t, std::int64_t>;

  std::function<void()> changed_;
  std::map<Key, std::unique_ptr<Link>> links_;
};

}  // namespace brindlemux
