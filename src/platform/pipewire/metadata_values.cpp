#include "platform/pipewire/metadata_values.h"

#include <charconv>
#include <cstdint>

#include "platform/dictionary_member.h"
#include "platform/pipewire/json_dictionary.h"

namespace brindlemux {

std::optional<std::string> nodeNameIn(std::string_view value) {
  const auto json = dictionaryFromJSON(value);
  const auto* const dictionary = json ? std::get_if<Dictionary>(&json->value) : nullptr;
  if (dictionary == nullptr) return std::nullopt;
  const auto* const text = member<std::string>(*dictionary, "name");
  return text == nullptr ? std::nullopt : std::optional(*text);
}

std::optional<double> positiveNumberIn(std::string_view value) noexcept {
  std::uint32_t number = 0;
  std::from_chars(value.data(), value.data() + value.size(), number);
  if (number == 0) return std::nullopt;
  return number;
}

}  // namespace brindlemux
