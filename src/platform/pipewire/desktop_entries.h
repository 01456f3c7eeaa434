#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindlemux {

/// What a desktop entry says of an application.
struct DesktopEntry {
  std::string id;    ///< the entry's file name without ".desktop"
  std::string name;  ///< in the user's language
};

/// The desktop entries of the user and the system, looked up by the binary that they start.
///
/// Read once, at construction; an entry of a folder named earlier hides those of the same name in later ones.
/// Threads: any.
class DesktopEntries {
 public:
  explicit DesktopEntries(const std::vector<std::filesystem::path>& folders);

  /// The "applications" folders of the user's and the system's data directories.
  static std::vector<std::filesystem::path> userFolders();

  /// The entry whose command starts a binary of this name, or nothing.
  std::optional<DesktopEntry> forBinary(std::string_view binary) const;

  /// The entry whose command starts this executable: it has the executable's name, or it is a link or a script beside
  /// the executable in a folder of the application's own.
  std::optional<DesktopEntry> forExecutable(const std::filesystem::path& executable) const;

 private:
  void addFile(const std::filesystem::path& file);

  std::map<std::string, DesktopEntry, std::less<>> byBinary_;
  std::map<std::filesystem::path, DesktopEntry> byFolder_;
};

}  // namespace brindlemux
