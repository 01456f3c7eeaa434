#include "platform/pipewire/desktop_entries.h"

#include <filesystem>
#include <glib.h>
#include <memory>
#include <set>

namespace brindlemux {
namespace {

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
struct FreeText {
  void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

/// The name of the binary that a command line starts, or an empty text.
std::string binaryOf(const char* commandLine) {
  int count = 0;
  char** arguments = nullptr;
  if (g_shell_parse_argv(commandLine, &count, &arguments, nullptr) == FALSE) return {};
  std::string name = std::filesystem::path(arguments[0]).filename().string();
  // Commands that only start another one would stand for every application that is started so.
  if (name == "env" || name == "sh" || name == "bash" || name == "flatpak" || name == "snap") name.clear();
  g_strfreev(arguments);
  return name;
}

}  // namespace

std::vector<std::filesystem::path> DesktopEntries::userFolders() {
  std::vector<std::filesystem::path> folders = {std::filesystem::path(g_get_user_data_dir()) / "applications"};
  for (const char* const* folder = g_get_system_data_dirs(); *folder != nullptr; ++folder) {
    folders.push_back(std::filesystem::path(*folder) / "applications");
  }
  return folders;
}

DesktopEntries::DesktopEntries(const std::vector<std::filesystem::path>& folders) {
  std::set<std::string> seen;
  for (const auto& folder : folders) {
    std::error_code error;
    for (const auto& item : std::filesystem::directory_iterator(folder, error)) {
      if (item.path().extension() != ".desktop" || !seen.insert(item.path().filename().string()).second) continue;
      const std::unique_ptr<GKeyFile, FreeKeyFile> file(g_key_file_new());
      if (g_key_file_load_from_file(file.get(), item.path().c_str(), G_KEY_FILE_NONE, nullptr) == FALSE) continue;
      if (g_key_file_get_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_NO_DISPLAY, nullptr)) {
        continue;
      }
      const Text command(
          g_key_file_get_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_EXEC, nullptr));
      const Text name(g_key_file_get_locale_string(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_NAME,
                                                   nullptr, nullptr));
      if (!command || !name) continue;
      const std::string binary = binaryOf(command.get());
      if (!binary.empty()) byBinary_.try_emplace(binary, DesktopEntry{item.path().stem().string(), name.get()});
    }
  }
}

std::optional<DesktopEntry> DesktopEntries::forBinary(std::string_view binary) const {
  const auto found = byBinary_.find(binary);
  if (found == byBinary_.end()) return std::nullopt;
  return found->second;
}

}  // namespace brindlemux
