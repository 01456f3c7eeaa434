#include "model/graph_codec.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <type_traits>
#include <utility>

namespace brindlemux {
namespace {

using Json = nlohmann::json;

// Bounds far above any graph, so that a damaged or hostile file cannot use up the memory: a value takes many times the
// two bytes that it may have in the text.
constexpr int maximumDepth = 512;
constexpr std::size_t maximumValues = 4'000'000;
/// Integers of a smaller magnitude are exact in the 64-bit float that a number with a fraction or exponent is read as.
constexpr double exactIntegerLimit = 0x1p53;
/// The first magnitude that rounds to infinity in 32 bits: half a unit above the largest float.
constexpr double floatLimit = 0x1.ffffffp127;

constexpr const char* appCase = "app";
constexpr const char* micCase = "mic";
constexpr const char* systemAudioCase = "systemAudio";

/// Carries an error out of the nested readers and writers of this file; it never leaves the file.
struct Failure {
  GraphCodingError error;
};

[[noreturn]] void fail(std::string path, std::string reason) {
  throw Failure{{.path = std::move(path), .reason = std::move(reason)}};
}

/// One JSON value together with the way to it, which is spelled out only when something is wrong.
class Value {
 public:
  Value(const Json& json, std::string name) : json_(json), name_(std::move(name)) {}
  Value(const Json& json, std::string name, const Value& parent)
      : json_(json), name_(std::move(name)), parent_(&parent) {}
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;

  const Json& json() const { return json_; }
  std::string path() const { return parent_ == nullptr ? name_ : parent_->path() + name_; }

  const Value& requireObject() const {
    if (!json_.is_object()) fail(path(), "expected an object");
    return *this;
  }

  template <typename T>
  T required(const char* key) const;
  template <typename T>
  T optional(const char* key, T absent) const;

 private:
  const Json& json_;
  const std::string name_;
  const Value* const parent_ = nullptr;
};

void read(const Value& value, std::string& into) {
  if (!value.json().is_string()) fail(value.path(), "expected a string");
  into = value.json().get_ref<const std::string&>();
}

void read(const Value& value, bool& into) {
  if (!value.json().is_boolean()) fail(value.path(), "expected a boolean");
  into = value.json().get<bool>();
}

void read(const Value& value, std::int64_t& into) {
  const Json& json = value.json();
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      fail(value.path(), "integer out of range");
    }
    into = static_cast<std::int64_t>(number);
  } else if (json.is_number_integer()) {
    into = json.get<std::int64_t>();
  } else if (json.is_number_float()) {
    const auto number = json.get<double>();
    if (!(std::abs(number) < exactIntegerLimit) || std::trunc(number) != number) {
      fail(value.path(), "expected an integer");
    }
    into = static_cast<std::int64_t>(number);
  } else {
    fail(value.path(), "expected an integer");
  }
}

void read(const Value& value, float& into) {
  if (!value.json().is_number()) fail(value.path(), "expected a number");
  const auto number = value.json().get<double>();
  if (!(std::abs(number) < floatLimit)) fail(value.path(), "number out of range");
  into = static_cast<float>(number);
}

void read(const Value& value, UUID& into) {
  std::string text;
  read(value, text);
  const std::optional<UUID> id = UUID::parse(text);
  if (!id) fail(value.path(), "expected a UUID");
  into = *id;
}

template <typename T>
void read(const Value& value, std::vector<T>& into);

void read(const Value& value, SourceKindConfig& into) {
  const Json& json = value.requireObject().json();
  if (json.count(appCase) + json.count(micCase) + json.count(systemAudioCase) != 1) {
    fail(value.path(), "Invalid number of keys found, expected one.");
  }
  if (json.contains(appCase)) {
    const Value app(json[appCase], ".app", value);
    into = AppSource{.bundleID = app.requireObject().required<std::string>("bundleID"),
                     .name = app.required<std::string>("name")};
  } else if (json.contains(micCase)) {
    const Value mic(json[micCase], ".mic", value);
    into = MicSource{.deviceUID = mic.requireObject().required<std::string>("deviceUID"),
                     .name = mic.required<std::string>("name")};
  } else {
    Value(json[systemAudioCase], ".systemAudio", value).requireObject();
    into = SystemAudioSource{};
  }
}

void read(const Value& value, SourceNodeConfig& into) {
  value.requireObject();
  into.id = value.required<UUID>("id");
  into.kind = value.required<SourceKindConfig>("kind");
  into.gain = value.optional("gain", into.gain);
  into.channelGains = value.optional("channelGains", std::move(into.channelGains));
  into.enabled = value.optional("enabled", into.enabled);
}

void read(const Value& value, SourceWire& into) {
  value.requireObject();
  into.sourceID = value.required<UUID>("sourceID");
  into.sourceChannel = value.required<std::int64_t>("sourceChannel");
  into.outputChannel = value.required<std::int64_t>("outputChannel");
}

void read(const Value& value, MonitorNodeConfig& into) {
  value.requireObject();
  into.id = value.required<UUID>("id");
  into.deviceUID = value.required<std::string>("deviceUID");
  into.name = value.required<std::string>("name");
  into.gain = value.optional("gain", into.gain);
  into.enabled = value.optional("enabled", into.enabled);
}

void read(const Value& value, MonitorWire& into) {
  value.requireObject();
  into.outputChannel = value.required<std::int64_t>("outputChannel");
  into.monitorID = value.required<UUID>("monitorID");
  into.monitorChannel = value.required<std::int64_t>("monitorChannel");
}

void read(const Value& value, DeviceGraph& into) {
  value.requireObject();
  into.deviceUID = value.required<std::string>("deviceUID");
  into.enabled = value.optional("enabled", into.enabled);
  into.masterGain = value.optional("masterGain", into.masterGain);
  into.outputGains = value.optional("outputGains", std::move(into.outputGains));
  into.latencyFrames = value.optional("latencyFrames", into.latencyFrames);
  into.sources = value.optional("sources", std::move(into.sources));
  into.wires = value.optional("wires", std::move(into.wires));
  into.monitors = value.optional("monitors", std::move(into.monitors));
  into.monitorWires = value.optional("monitorWires", std::move(into.monitorWires));
}

template <typename T>
void read(const Value& value, std::vector<T>& into) {
  if (!value.json().is_array()) fail(value.path(), "expected an array");
  into.clear();
  into.reserve(value.json().size());
  for (const Json& element : value.json()) {
    const Value item(element, "[" + std::to_string(into.size()) + "]", value);
    T record{};
    read(item, record);
    into.push_back(std::move(record));
  }
}

template <typename T>
T Value::required(const char* key) const {
  const auto member = json_.find(key);
  if (member == json_.end()) fail(path() + "." + key, "required, but missing");
  T result{};
  read(Value(*member, std::string(".") + key, *this), result);
  return result;
}

template <typename T>
T Value::optional(const char* key, T absent) const {
  const auto member = json_.find(key);
  if (member == json_.end() || member->is_null()) return absent;
  T result{};
  read(Value(*member, std::string(".") + key, *this), result);
  return result;
}

Json parse(std::string_view text) {
  // The parser takes a zero byte for the end of the text, whatever follows it.
  if (text.find('\0') != std::string_view::npos) fail("", "a zero byte in the text");
  std::size_t values = 0;
  const auto guard = [&values](int outerLevels, Json::parse_event_t event, Json&) {
    using Event = Json::parse_event_t;
    if (outerLevels == 0 && event == Event::array_start) fail("", "expected an object");
    if ((event == Event::object_start || event == Event::array_start) && outerLevels >= maximumDepth) {
      fail("", "nested too deeply");
    }
    if (++values > maximumValues) fail("", "too many values");
    return true;
  };
  return Json::parse(text.begin(), text.end(), guard);
}

/// The number that JSON shows with the fewest digits of all that read back to this gain: the nearest 64-bit float to
/// the gain's own shortest decimal form, or the gain itself in the rare case that rounding twice would miss it.
Json encoded(float gain, const std::string& path) {
  if (!std::isfinite(gain)) fail(path, "the gain is not a finite number");
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

std::string GraphCodingError::description() const { return path.empty() ? reason : path + ": " + reason; }

std::variant<std::string, GraphCodingError> encodeGraphs(const DeviceGraphs& graphs) {
  try {
    Json root = Json::object();
    for (const auto& [uid, graph] : graphs) root[uid] = encoded(graph, uid);
    constexpr int indent = 2;
    return root.dump(indent, ' ', false, Json::error_handler_t::replace) + "\n";
  } catch (const Failure& failure) {
    return failure.error;
  }
}

std::variant<DeviceGraphs, GraphCodingError> decodeGraphs(std::string_view text) {
  try {
    const Json root = parse(text);
    if (!root.is_object()) return GraphCodingError{.path = {}, .reason = "expected an object"};
    DeviceGraphs graphs;
    for (const auto& [uid, graph] : root.items()) read(Value(graph, uid), graphs[uid]);
    return graphs;
  } catch (const Failure& failure) {
    return failure.error;
  } catch (const Json::exception& error) {
    return GraphCodingError{.path = {}, .reason = error.what()};
  } catch (const std::bad_alloc&) {
    return GraphCodingError{.path = {}, .reason = "too large for the memory there is"};
  } catch (const std::length_error&) {
    return GraphCodingError{.path = {}, .reason = "too large for the memory there is"};
  }
}

}  // namespace brindlemux
