#include "endtoend/graph_text.h"

#include "endtoend/routing_session.h"

namespace brindlemux::test {
namespace {

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string object(const TextMembers& members) {
  std::string text;
  for (const auto& [name, value] : members) text += (text.empty() ? "" : ", ") + quoted(name) + ": " + value;
  return "{" + text + "}";
}

std::string list(const std::vector<TextMembers>& objects) {
  std::string text;
  for (const TextMembers& members : objects) text += (text.empty() ? "\n    " : ",\n    ") + object(members);
  return "[" + text + "]";
}

std::string monitorIDInText(std::size_t place) { return "7C9E6679-7425-40DE-944B-00000000000" + std::to_string(place); }

}  // namespace

std::string applicationKind(const std::string& bundleID) {
  return object({{"app", object({{"bundleID", quoted(bundleID)}, {"name", quoted(bundleID)}})}});
}

std::string inputKind(const std::string& deviceUID) {
  return object({{"mic", object({{"deviceUID", quoted(deviceUID)}, {"name", quoted(deviceUID)}})}});
}

std::string systemAudioKind() { return object({{"systemAudio", object({})}}); }

std::string sourceIDInText(std::size_t place) { return "0F8FAD5B-D9CB-469F-A165-00000000000" + std::to_string(place); }

std::string graphText(const TextMembers& members, const std::vector<TextSource>& sources,
                      const std::vector<TextMonitor>& monitors) {
  std::vector<TextMembers> sourceList;
  std::vector<TextMembers> wireList;
  for (const TextSource& source : sources) {
    const std::string id = quoted(sourceIDInText(sourceList.size()));
    sourceList.push_back({{"id", id}, {"kind", source.kind}});
    for (const TextWire& wire : source.wires) {
      wireList.push_back(
          {{"sourceID", id}, {"sourceChannel", std::to_string(wire.from)}, {"outputChannel", std::to_string(wire.to)}});
    }
  }
  std::vector<TextMembers> monitorList;
  std::vector<TextMembers> monitorWireList;
  for (const TextMonitor& monitor : monitors) {
    const std::string id = quoted(monitorIDInText(monitorList.size()));
    TextMembers& added = monitorList.emplace_back(monitor.members);
    added.insert({{"id", id}, {"deviceUID", quoted(monitor.deviceUID)}, {"name", quoted(monitor.deviceUID)}});
    for (const TextWire& wire : monitor.wires) {
      monitorWireList.push_back({{"outputChannel", std::to_string(wire.from)},
                                 {"monitorID", id},
                                 {"monitorChannel", std::to_string(wire.to)}});
    }
  }
  TextMembers graph = members;
  graph.insert({{"deviceUID", quoted(RoutingSession::deviceUID)},
                {"sources", list(sourceList)},
                {"wires", list(wireList)},
                {"monitors", list(monitorList)},
                {"monitorWires", list(monitorWireList)}});
  return object({{RoutingSession::deviceUID, object(graph)}}) + "\n";
}

}  // namespace brindlemux::test
