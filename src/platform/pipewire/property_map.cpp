#include "platform/pipewire/property_map.h"

#include <charconv>

namespace brindlemux {

void PropertyMap::merge(const spa_dict* dictionary) {
  if (dictionary == nullptr) return;
  for (std::uint32_t i = 0; i < dictionary->n_items; ++i) {
    const spa_dict_item& item = dictionary->items[i];
    if (item.key != nullptr && item.value != nullptr) values_.insert_or_assign(item.key, item.value);
  }
}

std::string_view PropertyMap::value(std::string_view key) const {
  const auto found = values_.find(key);
  return found == values_.end() ? std::string_view{} : std::string_view{found->second};
}

std::optional<std::int64_t> PropertyMap::number(std::string_view key) const {
  const std::string_view text = value(key);
  std::int64_t result = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
  if (error != std::errc{} || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return result;
}

bool PropertyMap::isTrue(std::string_view key) const {
  const std::string_view text = value(key);
  return text == "true" || text == "1";
}

}  // namespace brindlemux
