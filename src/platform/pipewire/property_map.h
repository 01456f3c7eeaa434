#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <spa/utils/dict.h>
#include <string>
#include <string_view>

namespace brindlemux {

/// The properties of a server object, copied.
class PropertyMap {
 public:
  /// Adds or replaces what `dictionary` holds; null is an empty one.
  void merge(const spa_dict* dictionary);

  /// The value, or an empty text.
  std::string_view value(std::string_view key) const;

  /// The value as a whole decimal number, or nothing.
  std::optional<std::int64_t> number(std::string_view key) const;

  bool isTrue(std::string_view key) const;

 private:
  std::map<std::string, std::string, std::less<>> values_;
};

}  // namespace brindlemux
