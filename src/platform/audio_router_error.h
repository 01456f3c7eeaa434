#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/audio_types.h"

namespace brindlemux {

/// The one error of platform calls. `message` is the text for the user.
class AudioRouterError : public std::runtime_error {
 public:
  explicit AudioRouterError(const std::string& message) : std::runtime_error(message) {}
  std::string message() const { return what(); }
};

/// Throws AudioRouterError("<what> failed (OSStatus <status>)") unless `status` is noErr.
void check(OSStatus status, std::string_view what);

}  // namespace brindlemux
