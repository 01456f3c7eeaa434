#include "support/server_dump.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace brindlemux::test {
namespace {

using Json = nlohmann::json;

std::map<std::string, std::string> texts(const Json& properties) {
  std::map<std::string, std::string> result;
  for (const auto& [key, value] : properties.items()) {
    result[key] = value.is_string() ? value.get<std::string>() : value.dump();
  }
  return result;
}

}  // namespace

std::string ServerDump::Node::property(const std::string& key) const {
  const auto entry = properties.find(key);
  return entry == properties.end() ? std::string() : entry->second;
}

ServerDump::ServerDump(const PrivateServer& server) {
  const Json objects = Json::parse(server.run({"pw-dump"}).output, nullptr, false);
  if (!objects.is_array()) return;
  std::map<std::int64_t, std::pair<int, int>> ports;
  for (const Json& object : objects) {
    const std::string type = object.value("type", "");
    // An object that comes or goes while the dump is made has no information.
    if (!object.contains("info") || !object["info"].is_object()) continue;
    const Json& info = object["info"];
    const Json properties = info.value("props", Json::object());
    if (type == "PipeWire:Interface:Node") {
      Node node;
      node.id = object.value("id", std::int64_t{0});
      node.serial = properties.value("object.serial", std::int64_t{0});
      node.state = info.value("state", "");
      node.properties = texts(properties);
      nodes_.push_back(std::move(node));
    } else if (type == "PipeWire:Interface:Port") {
      auto& [inputs, outputs] = ports[properties.value("node.id", std::int64_t{-1})];
      (info.value("direction", "") == "input" ? inputs : outputs) += 1;
    } else if (type == "PipeWire:Interface:Link") {
      links_.push_back({object.value("id", std::int64_t{0}), info.value("output-node-id", std::int64_t{-1}),
                        info.value("input-node-id", std::int64_t{-1}), info.value("state", "")});
    }
  }
  for (Node& node : nodes_) std::tie(node.inputPorts, node.outputPorts) = ports[node.id];
  std::ranges::sort(nodes_, {}, &Node::serial);
}

std::vector<ServerDump::Node> ServerDump::nodesNamed(const std::string& name) const {
  std::vector<Node> found;
  std::ranges::copy_if(nodes_, std::back_inserter(found),
                       [&](const Node& node) { return node.property("node.name") == name; });
  return found;
}

std::optional<ServerDump::Node> ServerDump::node(const std::string& name) const {
  auto found = nodesNamed(name);
  if (found.size() != 1) return std::nullopt;
  return std::move(found.front());
}

int ServerDump::linkCount(const Node& output, const Node& input) const {
  return static_cast<int>(std::ranges::count_if(
      links_, [&](const Link& link) { return link.outputNode == output.id && link.inputNode == input.id; }));
}

}  // namespace brindlemux::test
