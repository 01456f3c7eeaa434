#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brindlemux {

/// What a desktop entry says of an application.
struct DesktopEntry {
  std::string id;    ///< the entry's file name without ".desktop"
  std::string name;  ///< in the user's language
};

/// The desktop entries of the user and the system, looked up by the binary that they start.
///
/// Read once, at construction, from the "applications" folders of the XDG data directories; an entry of a directory
/// named earlier hides those of later ones. Threads: any.
class DesktopEntries {
 public:
  DesktopEntries();

  /// The entry whose command starts a binary of this name, or nothing.
  std::optional<DesktopEntry> forBinary(std::string_view binary) const;

 private:
  std::map<std::string, DesktopEntry, std::less<>> byBinary_;
};

}  // namespace brindlemux
