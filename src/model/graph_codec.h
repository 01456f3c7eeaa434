#pragma once

#include <string>
#include <string_view>
#include <variant>

#include "model/device_graph.h"

namespace brindlemux {

/// Why graphs cannot be read or written. `path` names the member, such as "UID.sources[2].gain", and is empty where the
/// text as a whole is meant; `reason` is one line.
struct GraphCodingError {
  std::string path;
  std::string reason;

  /// Both together, for a person.
  std::string description() const { return path.empty() ? reason : path + ": " + reason; }

  friend bool operator==(const GraphCodingError&, const GraphCodingError&) = default;
};

/// The graphs as JSON text: one object keyed by device UID, every member of every record written, the members of each
/// object in ascending byte order, one to a line. Gains read back to the same 32-bit float and are written as short as
/// that allows. Bytes of a string that are not UTF-8 become U+FFFD, so that an odd name does not cost the whole file.
///
/// Errors: a gain that is not finite.
std::variant<std::string, GraphCodingError> encodeGraphs(const DeviceGraphs& graphs);

/// Reads what `encodeGraphs` writes, and more leniently: members that have a default may be absent or null, unknown
/// members are ignored, identifiers may be in either case, and an integer may be written with a fraction or an exponent
/// as long as its value is whole and below 2^53. A leading byte-order mark is skipped.
///
/// Errors: text that is no JSON object, or whose numbers, nesting (512 levels) or count of names and values (four
/// million) are beyond any graph; a required member that is missing; a value of the wrong type or out of its type's
/// range anywhere.
std::variant<DeviceGraphs, GraphCodingError> decodeGraphs(std::string_view text);

}  // namespace brindlemux
