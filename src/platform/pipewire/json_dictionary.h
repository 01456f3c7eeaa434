#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/audio_types.h"

namespace brindlemux {

/// Reads JSON text as a property list; null members become empty values. Nothing for text that is not JSON or nests
/// deeper than 32 levels.
std::optional<DictionaryValue> dictionaryFromJSON(std::string_view text);

/// A property list as JSON text on one line, members in ascending byte order. Ill-formed UTF-8 is replaced.
std::string jsonFromDictionary(const DictionaryValue& value);

/// Whether two texts are the same JSON value. Text that is not JSON equals nothing.
bool isSameJSON(std::string_view a, std::string_view b);

}  // namespace brindlemux
