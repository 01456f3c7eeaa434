#include "platform/pipewire/desktop_entries.h"

#include <algorithm>
#include <array>
#include <glib.h>
#include <memory>
#include <set>

#include "model/read_regular_file.h"

namespace brindlemux {
namespace {

struct FreeKeyFile {
  void operator()(GKeyFile* file) const { g_key_file_free(file); }
};
struct FreeText {
  void operator()(char* text) const { g_free(text); }
};
using Text = std::unique_ptr<char, FreeText>;

/// No desktop entry comes near this.
constexpr std::size_t maximumBytes = std::size_t{1} << 20U;

/// The value of a key, or nothing.
Text valueOf(GKeyFile* keys, const std::string& key) {
  GError* error = nullptr;
  Text value(g_key_file_get_string(keys, G_KEY_FILE_DESKTOP_GROUP, key.c_str(), &error));
  g_clear_error(&error);
  return value;
}

/// The value of a key in the user's language. GLib's own look-up of it leaks where a value has an invalid escape.
Text translatedValueOf(GKeyFile* keys, const std::string& key) {
  const Text language(g_key_file_get_locale_for_key(keys, G_KEY_FILE_DESKTOP_GROUP, key.c_str(), nullptr));
  return valueOf(keys, language ? key + '[' + language.get() + ']' : key);
}

/// The program that a command line starts, or an empty path.
std::filesystem::path programOf(const char* commandLine) {
  int count = 0;
  char** arguments = nullptr;
  if (g_shell_parse_argv(commandLine, &count, &arguments, nullptr) == FALSE) return {};
  std::filesystem::path program = arguments[0];
  g_strfreev(arguments);
  return program;
}

/// Commands that only start another one would stand for every application that is started so.
bool isLauncher(const std::string& binary) {
  constexpr std::array<std::string_view, 12> launchers = {"env",  "sh",   "bash", "flatpak", "snap", "java",
                                                          "wine", "perl", "ruby", "node",    "gjs",  "electron"};
  return binary.starts_with("python") || std::ranges::find(launchers, binary) != launchers.end();
}

/// Where a program really lies, when that is a folder of one application's own: not one of those in which the system
/// keeps programs, nor directly in one that holds other applications' folders.
std::filesystem::path ownFolder(const std::filesystem::path& program) {
  const Text found(g_find_program_in_path(program.c_str()));
  if (!found) return {};
  std::error_code error;
  auto folder = std::filesystem::canonical(found.get(), error).parent_path();
  constexpr std::array<std::string_view, 7> shared = {"bin", "sbin", "games", "lib", "lib64", "libexec", "opt"};
  if (error || std::ranges::find(shared, folder.filename().string()) != shared.end()) folder.clear();
  return folder;
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
    std::vector<std::filesystem::path> files;
    // The increment that reports its error instead of throwing it.
    for (std::filesystem::directory_iterator item(folder, error);
         !error && item != std::filesystem::directory_iterator(); item.increment(error)) {
      files.push_back(item->path());
    }
    // The file system's order is nobody's: of two entries that start one binary the same one wins each time.
    std::ranges::sort(files);
    for (const auto& file : files) {
      if (file.extension() == ".desktop" && seen.insert(file.filename().string()).second) addFile(file);
    }
  }
}

void DesktopEntries::addFile(const std::filesystem::path& file) {
  const std::unique_ptr<GKeyFile, FreeKeyFile> keys(g_key_file_new());
  // Whatever lies there: a pipe would never end.
  const auto text = readRegularFile(file, maximumBytes);
  if (!text || text->empty()) return;
  if (g_key_file_load_from_data(keys.get(), text->data(), text->size(), G_KEY_FILE_NONE, nullptr) == FALSE) return;
  constexpr const char* group = G_KEY_FILE_DESKTOP_GROUP;
  if (g_key_file_get_boolean(keys.get(), group, G_KEY_FILE_DESKTOP_KEY_NO_DISPLAY, nullptr)) return;
  const Text command = valueOf(keys.get(), G_KEY_FILE_DESKTOP_KEY_EXEC);
  const Text name = translatedValueOf(keys.get(), G_KEY_FILE_DESKTOP_KEY_NAME);
  if (!command || !name) return;
  const std::filesystem::path program = programOf(command.get());
  const std::string binary = program.filename().string();
  if (binary.empty() || isLauncher(binary)) return;
  const DesktopEntry entry{file.stem().string(), name.get()};
  byBinary_.try_emplace(binary, entry);
  if (const auto own = ownFolder(program); !own.empty()) byFolder_.try_emplace(own, entry);
}

std::optional<DesktopEntry> DesktopEntries::forBinary(std::string_view binary) const {
  const auto found = byBinary_.find(binary);
  if (found == byBinary_.end()) return std::nullopt;
  return found->second;
}

std::optional<DesktopEntry> DesktopEntries::forExecutable(const std::filesystem::path& executable) const {
  if (auto entry = forBinary(executable.filename().string())) return entry;
  const auto found = byFolder_.find(executable.parent_path());
  if (found == byFolder_.end()) return std::nullopt;
  return found->second;
}

}  // namespace brindlemux
