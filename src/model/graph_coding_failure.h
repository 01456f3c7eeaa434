#pragma once

#include <string>
#include <utility>

#include "model/graph_codec.h"

// What the two halves of the codec share; seen by them only.

namespace brindlemux {

/// The members that tell the kinds of a source apart.
inline constexpr const char* appCase = "app";
inline constexpr const char* micCase = "mic";
inline constexpr const char* systemAudioCase = "systemAudio";

/// Carries an error out of the nested readers and writers of one half; it never leaves that.
struct GraphCodingFailure {
  GraphCodingError error;
};

[[noreturn]] inline void failCoding(std::string path, std::string reason) {
  throw GraphCodingFailure{{.path = std::move(path), .reason = std::move(reason)}};
}

}  // namespace brindlemux
