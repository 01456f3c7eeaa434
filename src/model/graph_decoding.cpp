#include <cmath>
#include <limits>
#include <new>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <utility>

#include "model/graph_codec.h"
#include "model/graph_coding_failure.h"

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
    if (!json_.is_object()) failCoding(path(), "expected an object");
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
  if (!value.json().is_string()) failCoding(value.path(), "expected a string");
  into = value.json().get_ref<const std::string&>();
}

void read(const Value& value, bool& into) {
  if (!value.json().is_boolean()) failCoding(value.path(), "expected a boolean");
  into = value.json().get<bool>();
}

void read(const Value& value, std::int64_t& into) {
  const Json& json = value.json();
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      failCoding(value.path(), "integer out of range");
    }
    into = static_cast<std::int64_t>(number);
  } else if (json.is_number_integer()) {
    into = json.get<std::int64_t>();
  } else if (json.is_number_float()) {
    const auto number = json.get<double>();
    if (!(std::abs(number) < exactIntegerLimit) || std::trunc(number) != number) {
      failCoding(value.path(), "expected an integer");
    }
    into = static_cast<std::int64_t>(number);
  } else {
    failCoding(value.path(), "expected an integer");
  }
}

void read(const Value& value, float& into) {
  if (!value.json().is_number()) failCoding(value.path(), "expected a number");
  const auto number = value.json().get<double>();
  if (!(std::abs(number) < floatLimit)) failCoding(value.path(), "number out of range");
  into = static_cast<float>(number);
}

void read(const Value& value, UUID& into) {
  std::string text;
  read(value, text);
  const std::optional<UUID> id = UUID::parse(text);
  if (!id) failCoding(value.path(), "expected a UUID");
  into = *id;
}

template <typename T>
void read(const Value& value, std::vector<T>& into);

void read(const Value& value, SourceKindConfig& into) {
  const Json& json = value.requireObject().json();
  if (json.count(appCase) + json.count(micCase) + json.count(systemAudioCase) != 1) {
    failCoding(value.path(), "Invalid number of keys found, expected one.");
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
  if (!value.json().is_array()) failCoding(value.path(), "expected an array");
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
  if (member == json_.end()) failCoding(path() + "." + key, "required, but missing");
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
  if (text.find('\0') != std::string_view::npos) failCoding("", "a zero byte in the text");
  std::size_t values = 0;
  const auto guard = [&values](int outerLevels, Json::parse_event_t event, Json&) {
    using Event = Json::parse_event_t;
    if (outerLevels == 0 && event == Event::array_start) failCoding("", "expected an object");
    if ((event == Event::object_start || event == Event::array_start) && outerLevels >= maximumDepth) {
      failCoding("", "nested too deeply");
    }
    if (++values > maximumValues) failCoding("", "too many values");
    return true;
  };
  return Json::parse(text.begin(), text.end(), guard);
}

}  // namespace

std::variant<DeviceGraphs, GraphCodingError> decodeGraphs(std::string_view text) {
  try {
    const Json root = parse(text);
    if (!root.is_object()) return GraphCodingError{.path = {}, .reason = "expected an object"};
    DeviceGraphs graphs;
    for (const auto& [uid, graph] : root.items()) read(Value(graph, uid), graphs[uid]);
    return graphs;
  } catch (const GraphCodingFailure& failure) {
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
