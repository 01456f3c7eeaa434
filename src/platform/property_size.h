#pragma once

#include <cstdint>

#include "platform/audio_types.h"

namespace brindlemux {

/// The size in bytes of a value in the native layout: 4 a number or object ID, 8 a string, a rate, a dictionary or a
/// null reference, 4 an element of a list of IDs, 8 and 16 a buffer for a buffer layout, 40 a stream format.
std::uint32_t propertySize(const PropertyValue& value) noexcept;

}  // namespace brindlemux
