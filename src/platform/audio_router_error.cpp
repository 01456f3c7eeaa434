#include "platform/audio_router_error.h"

namespace brindlemux {

void check(OSStatus status, std::string_view what) {
  if (status == noErr) return;
  throw AudioRouterError(std::string(what) + " failed (OSStatus " + std::to_string(status) + ")");
}

}  // namespace brindlemux
