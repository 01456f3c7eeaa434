#pragma once

#include "platform/audio_types.h"

namespace brindlemux {

/// The value of a property list's member where it is there and of this type, otherwise null. Borrowed.
template <typename Value>
const Value* member(const Dictionary& dictionary, const char* key) {
  const auto found = dictionary.find(key);
  return found == dictionary.end() ? nullptr : std::get_if<Value>(&found->second.value);
}

}  // namespace brindlemux
