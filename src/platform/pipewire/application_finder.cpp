#include "platform/pipewire/application_finder.h"

#include <algorithm>
#include <array>
#include <string>

namespace brindlemux {
namespace {

/// Processes between a helper and its application; more would be a loop.
constexpr int mostGenerations = 16;

/// Whether people start what lies in the folder. Helpers lie elsewhere, in the folders of their applications.
bool isForPeople(const std::filesystem::path& folder) {
  const std::string name = folder.filename().string();
  return name == "bin" || name == "sbin" || name == "games";
}

/// Whoever runs in a shell does not belong to the terminal that the shell runs in.
bool isShell(std::string_view binary) {
  constexpr std::array<std::string_view, 10> shells = {"sh",  "bash", "dash", "zsh",  "fish",
                                                       "ksh", "tcsh", "tmux", "sudo", "screen"};
  return std::ranges::find(shells, binary) != shells.end();
}

}  // namespace

std::optional<DesktopEntry> ApplicationFinder::find(std::int32_t pid, std::string_view binary) const {
  if (auto entry = entries_.forBinary(binary)) return entry;
  std::optional<std::int32_t> process = pid;
  for (int generation = 0; process && *process > 1 && generation < mostGenerations; ++generation) {
    const std::filesystem::path executable = processes_.executable(*process);
    if (executable.empty() || isShell(executable.filename().string())) return std::nullopt;
    if (auto entry = entries_.forExecutable(executable)) return entry;
    if (isForPeople(executable.parent_path())) return std::nullopt;
    process = processes_.parent(*process);
  }
  return std::nullopt;
}

}  // namespace brindlemux
