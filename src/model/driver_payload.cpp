#include "model/driver_payload.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <unordered_set>
#include <utility>

namespace brindlemux {
namespace {

using Json = nlohmann::json;

constexpr std::int64_t mostChannels = 64;
// The payload itself nests three deep; members that are ignored may go a little further.
constexpr int deepestNesting = 16;

// Whether the text is non-empty and free of control characters (U+0000 to U+001F, U+007F to U+009F). The text is
// well-formed UTF-8, in which the last 32 of them are C2 80 to C2 9F.
bool isLabel(std::string_view text, std::size_t mostBytes) {
  if (text.size() > mostBytes) return false;
  unsigned char previous = 0;
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F || (previous == 0xC2 && byte < 0xA0)) return false;
    previous = byte;
  }
  return !text.empty();
}

const std::string* labelMember(const Json& object, const char* key, std::size_t mostBytes) {
  const auto member = object.find(key);
  if (member == object.end() || !member->is_string()) return nullptr;
  const auto& text = member->get_ref<const std::string&>();
  return isLabel(text, mostBytes) ? &text : nullptr;
}

std::optional<std::int64_t> channelsMember(const Json& object) {
  const auto member = object.find("channels");
  if (member == object.end() || !member->is_number_integer()) return std::nullopt;
  // A number beyond the signed range is stored as an unsigned one.
  if (member->is_number_unsigned() && member->get<std::uint64_t>() > static_cast<std::uint64_t>(mostChannels)) {
    return std::nullopt;
  }
  const auto channels = member->get<std::int64_t>();
  if (channels < 1 || channels > mostChannels) return std::nullopt;
  return channels;
}

// The document, or a discarded value when the text is not JSON or nests too deeply. The parser keeps its own stack, so
// nesting costs no stack of ours; the limit spares building and freeing what would be refused anyway.
Json parse(std::string_view text) {
  bool tooDeep = false;
  const auto limitDepth = [&tooDeep](int depth, Json::parse_event_t, Json&) {
    tooDeep = tooDeep || depth > deepestNesting;
    return !tooDeep;
  };
  Json document = Json::parse(text, limitDepth, /*allow_exceptions=*/false);
  return tooDeep ? Json(Json::value_t::discarded) : document;
}

PayloadError elementError(std::size_t index, const char* what) {
  return {"device " + std::to_string(index) + " " + what};
}

}  // namespace

std::string encodeDriverPayload(const std::vector<VirtualDeviceConfig>& devices) {
  using OrderedJson = nlohmann::ordered_json;
  OrderedJson elements = OrderedJson::array();
  for (const VirtualDeviceConfig& device : devices) {
    OrderedJson element;
    element["uid"] = device.uid;
    element["name"] = device.name;
    element["channels"] = device.channels;
    elements.push_back(std::move(element));
  }
  OrderedJson document;
  document["devices"] = std::move(elements);
  return document.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

std::variant<std::vector<VirtualDeviceConfig>, PayloadError> decodeDriverPayload(std::string_view text) {
  if (text.size() > driverPayloadMostBytes) return PayloadError{"the text is too long"};
  // The parser takes a zero byte for the end of the text.
  if (text.find('\0') != std::string_view::npos) return PayloadError{"the text has a zero byte"};
  // The parser skips a byte-order mark, which JSON does not allow.
  if (text.starts_with("\xEF\xBB\xBF")) return PayloadError{"the text begins with a byte-order mark"};
  const Json document = parse(text);
  if (document.is_discarded()) return PayloadError{"the text is not JSON, or nests too deeply"};
  if (!document.is_object()) return PayloadError{"the value is not an object"};
  const auto list = document.find("devices");
  if (list == document.end() || !list->is_array()) return PayloadError{"there is no array \"devices\""};
  if (list->size() > driverPayloadMostDevices) return PayloadError{"there are too many devices"};

  std::vector<VirtualDeviceConfig> devices;
  std::unordered_set<std::string_view> uids;
  for (const Json& element : *list) {
    const std::size_t index = devices.size();
    if (!element.is_object()) return elementError(index, "is not an object");
    const std::string* uid = labelMember(element, "uid", driverPayloadMostUIDBytes);
    if (uid == nullptr) return elementError(index, "has no usable \"uid\"");
    const std::string* name = labelMember(element, "name", driverPayloadMostNameBytes);
    if (name == nullptr) return elementError(index, "has no usable \"name\"");
    const std::optional<std::int64_t> channels = channelsMember(element);
    if (!channels) return elementError(index, "has no \"channels\" from 1 to 64");
    if (!uids.insert(*uid).second) return elementError(index, "has the UID of an earlier one");
    devices.push_back({*uid, *name, *channels});
  }
  for (std::size_t index = 0; index < devices.size(); ++index) {
    std::string_view uid = devices[index].uid;
    if (!uid.ends_with(driverSourceSuffix)) continue;
    uid.remove_suffix(driverSourceSuffix.size());
    if (uids.contains(uid)) return elementError(index, "has a UID that another one's source is called by");
  }
  return devices;
}

}  // namespace brindlemux
