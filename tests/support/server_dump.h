#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "support/private_server.h"

namespace brindlemux::test {

/// What the server's registry shows at one moment, as pw-dump tells it.
class ServerDump {
 public:
  struct Node {
    std::int64_t id = 0;
    std::int64_t serial = 0;
    std::string state;
    std::map<std::string, std::string> properties;
    int inputPorts = 0;
    int outputPorts = 0;

    /// Empty when the node has no such property.
    std::string property(const std::string& key) const;
  };
  struct Link {
    std::int64_t id = 0;
    std::int64_t outputNode = 0;
    std::int64_t inputNode = 0;
    std::string state;
  };

  /// An empty one when the server does not answer.
  explicit ServerDump(const PrivateServer& server);

  const std::vector<Node>& nodes() const noexcept { return nodes_; }
  const std::vector<Link>& links() const noexcept { return links_; }
  /// The nodes of that name, by rising serial.
  std::vector<Node> nodesNamed(const std::string& name) const;
  /// The node of that name, when there is exactly one.
  std::optional<Node> node(const std::string& name) const;
  /// How many links lead from the one node to the other.
  int linkCount(const Node& output, const Node& input) const;

 private:
  std::vector<Node> nodes_;
  std::vector<Link> links_;
};

}  // namespace brindlemux::test
