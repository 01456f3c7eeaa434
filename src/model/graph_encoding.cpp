#include <charconv>
#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>
#include <type_traits>

#include "model/graph_codec.h"
#include "model/graph_coding_failure.h"

namespace brindlemux {
namespace {

using Json = nlohmann::json;

/// The number that JSON shows with the fewest digits of all that read back to this gain: the nearest 64-bit float to
/// the gain's own shortest decimal form, or the gain itself in the rare case that rounding twice would miss it.
Json encoded(float gain, const std::string& path) {
  if (!std::isfinite(gain)) failCoding(path, "the gain is not a finite number");
  char text[32];
  const auto written = std::to_chars(std::begin(text), std::end(text), gain);
  double number = 0;
  std::from_chars(std::begin(text), written.ptr, number);
  return static_cast<float>(number) == gain ? number : static_cast<double>(gain);
}

Json encoded(const std::vector<float>& gains, const std::string& path) {
  Json array = Json::array();
  for (const float gain : gains) array.push_back(encoded(gain, path + "[" + std::to_string(array.size()) + "]"));
  return array;
}

Json encoded(const SourceKindConfig& kind) {
  return std::visit(
      [](const auto& source) -> Json {
        using Case = std::remove_cvref_t<decltype(source)>;
        if constexpr (std::is_same_v<Case, AppSource>) {
          return {{appCase, {{"bundleID", source.bundleID}, {"name", source.name}}}};
        } else if constexpr (std::is_same_v<Case, MicSource>) {
          return {{micCase, {{"deviceUID", source.deviceUID}, {"name", source.name}}}};
        } else {
          return {{systemAudioCase, Json::object()}};
        }
      },
      kind);
}

Json encoded(const SourceNodeConfig& source, const std::string& path) {
  return {{"id", source.id.string()},
          {"kind", encoded(source.kind)},
          {"gain", encoded(source.gain, path + ".gain")},
          {"channelGains", encoded(source.channelGains, path + ".channelGains")},
          {"enabled", source.enabled}};
}

Json encoded(const SourceWire& wire, const std::string&) {
  return {{"sourceID", wire.sourceID.string()},
          {"sourceChannel", wire.sourceChannel},
          {"outputChannel", wire.outputChannel}};
}

Json encoded(const MonitorNodeConfig& monitor, const std::string& path) {
  return {{"id", monitor.id.string()},
          {"deviceUID", monitor.deviceUID},
          {"name", monitor.name},
          {"gain", encoded(monitor.gain, path + ".gain")},
          {"enabled", monitor.enabled}};
}

Json encoded(const MonitorWire& wire, const std::string&) {
  return {{"outputChannel", wire.outputChannel},
          {"monitorID", wire.monitorID.string()},
          {"monitorChannel", wire.monitorChannel}};
}

template <typename Record>
Json encodedRecords(const std::vector<Record>& records, const std::string& path) {
  Json array = Json::array();
  for (const Record& record : records) {
    array.push_back(encoded(record, path + "[" + std::to_string(array.size()) + "]"));
  }
  return array;
}

Json encoded(const DeviceGraph& graph, const std::string& path) {
  return {{"deviceUID", graph.deviceUID},
          {"enabled", graph.enabled},
          {"masterGain", encoded(graph.masterGain, path + ".masterGain")},
          {"outputGains", encoded(graph.outputGains, path + ".outputGains")},
          {"latencyFrames", graph.latencyFrames},
          {"sources", encodedRecords(graph.sources, path + ".sources")},
          {"wires", encodedRecords(graph.wires, path + ".wires")},
          {"monitors", encodedRecords(graph.monitors, path + ".monitors")},
          {"monitorWires", encodedRecords(graph.monitorWires, path + ".monitorWires")}};
}

}  // namespace

std::variant<std::string, GraphCodingError> encodeGraphs(const DeviceGraphs& graphs) {
  try {
    Json root = Json::object();
    for (const auto& [uid, graph] : graphs) root[uid] = encoded(graph, uid);
    constexpr int indent = 2;
    return root.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
  } catch (const GraphCodingFailure& failure) {
    return failure.error;
  }
}

}  // namespace brindlemux
