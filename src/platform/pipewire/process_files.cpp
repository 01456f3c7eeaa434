#include "platform/pipewire/process_files.h"

#include <charconv>
#include <fstream>
#include <sstream>

namespace brindlemux {

std::string ProcessFiles::statusField(std::int32_t pid, int index) const {
  std::ifstream file(folder_ / std::to_string(pid) / "stat");
  std::string line;
  std::getline(file, line);
  // The command's name stands in parentheses and may hold anything.
  const std::size_t nameEnd = line.rfind(')');
  if (nameEnd == std::string::npos) return {};
  std::istringstream fields(line.substr(nameEnd + 1));
  std::string field;
  for (int i = 0; i <= index; ++i) fields >> field;
  return fields ? field : std::string{};
}

std::string ProcessFiles::startTime(std::int32_t pid) const { return statusField(pid, 19); }

std::optional<std::int32_t> ProcessFiles::parent(std::int32_t pid) const {
  const std::string text = statusField(pid, 1);
  std::int32_t parent = 0;
  std::from_chars(text.data(), text.data() + text.size(), parent);
  if (parent <= 0) return std::nullopt;
  return parent;
}

std::filesystem::path ProcessFiles::executable(std::int32_t pid) const {
  std::error_code error;
  auto path = std::filesystem::read_symlink(folder_ / std::to_string(pid) / "exe", error).string();
  if (error) return {};
  // A program that was replaced while it runs, as by an upgrade.
  constexpr std::string_view suffix = " (deleted)";
  if (path.ends_with(suffix)) path.resize(path.size() - suffix.size());
  return path;
}

}  // namespace brindlemux
