#pragma once

#include <string>

#include "platform/audio_types.h"

namespace brindlemux {

/// The four characters of a code.
std::string propertyText(FourCharCode code);

/// A property's value on one line: numbers in decimal, strings in quotes, lists in brackets, dictionaries in braces.
std::string propertyText(const PropertyValue& value);

/// Likewise for a property list.
std::string propertyText(const DictionaryValue& value);

}  // namespace brindlemux
