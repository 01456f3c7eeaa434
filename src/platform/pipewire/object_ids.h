#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "platform/audio_types.h"

namespace brindlemux {

/// Gives every server object a number of the program's own, which is never used for another object in a run: the
/// server's own numbers are reused at once. Threads: under the connection's lock.
class ObjectIDs {
 public:
  /// The number of the object with this key, a fresh one when the key has not been seen.
  AudioObjectID of(std::string_view key) {
    const auto found = ids_.find(key);
    if (found != ids_.end()) return found->second;
    return ids_.emplace(key, fresh()).first->second;
  }

  /// The number of a server object of some kind, known by its serial number within a session with one server.
  AudioObjectID of(std::string_view kind, std::uint64_t session, std::int64_t serial) {
    return of(std::string(kind) + ':' + std::to_string(session) + ':' + std::to_string(serial));
  }

  /// A number for an object without a key.
  AudioObjectID fresh() { return next_++; }

 private:
  AudioObjectID next_ = kAudioObjectSystemObject + 1;
  std::map<std::string, AudioObjectID, std::less<>> ids_;
};

}  // namespace brindlemux
