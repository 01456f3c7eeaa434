#include "platform/pipewire/json_dictionary.h"

#include <nlohmann/json.hpp>

namespace brindlemux {
namespace {

using Json = nlohmann::json;

constexpr int maximumDepth = 32;

std::optional<Json> parse(std::string_view text) {
  bool isTooDeep = false;
  const auto limitDepth = [&](int depth, Json::parse_event_t, Json&) {
    isTooDeep = isTooDeep || depth > maximumDepth;
    return !isTooDeep;
  };
  Json json = Json::parse(text, limitDepth, /*allow_exceptions=*/false);
  if (json.is_discarded() || isTooDeep) return std::nullopt;
  return json;
}

DictionaryValue fromJSON(const Json& json) {
  switch (json.type()) {
    case Json::value_t::boolean:
      return json.get<bool>();
    case Json::value_t::number_integer:
      return json.get<std::int64_t>();
    case Json::value_t::number_unsigned: {
      const auto number = json.get<std::uint64_t>();
      if (number > static_cast<std::uint64_t>(INT64_MAX)) return static_cast<double>(number);
      return static_cast<std::int64_t>(number);
    }
    case Json::value_t::number_float:
      return json.get<double>();
    case Json::value_t::string:
      return json.get<std::string>();
    case Json::value_t::array: {
      DictionaryArray array;
      for (const Json& element : json) array.push_back(fromJSON(element));
      return array;
    }
    case Json::value_t::object: {
      Dictionary dictionary;
      for (const auto& [key, value] : json.items()) dictionary.emplace(key, fromJSON(value));
      return dictionary;
    }
    default:
      return {};
  }
}

Json toJSON(const DictionaryValue& value) {
  return std::visit(
      [](const auto& held) -> Json {
        using Held = std::remove_cvref_t<decltype(held)>;
        if constexpr (std::is_same_v<Held, std::monostate>) {
          return nullptr;
        } else if constexpr (std::is_same_v<Held, DictionaryArray>) {
          Json array = Json::array();
          for (const DictionaryValue& element : held) array.push_back(toJSON(element));
          return array;
        } else if constexpr (std::is_same_v<Held, Dictionary>) {
          Json object = Json::object();
          for (const auto& [key, element] : held) object[key] = toJSON(element);
          return object;
        } else {
          return held;
        }
      },
      value.value);
}

}  // namespace

std::optional<DictionaryValue> dictionaryFromJSON(std::string_view text) {
  const auto json = parse(text);
  if (!json) return std::nullopt;
  return fromJSON(*json);
}

std::string jsonFromDictionary(const DictionaryValue& value) {
  return toJSON(value).dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool isSameJSON(std::string_view a, std::string_view b) {
  const auto first = parse(a);
  const auto second = parse(b);
  return first && second && *first == *second;
}

}  // namespace brindlemux
