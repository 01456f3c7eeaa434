#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/pipewire/desktop_entries.h"
#include "platform/pipewire/process_files.h"

namespace brindlemux {

/// Finds the desktop entry of the application that a process belongs to. A helper of an application, such as a
/// browser's process for sound, belongs to the application that started it.
///
/// Threads: any.
class ApplicationFinder {
 public:
  /// Both are borrowed.
  ApplicationFinder(const DesktopEntries& entries, const ProcessFiles& processes)
      : entries_(entries), processes_(processes) {}

  /// `binary` is what the process calls its program, which is all that is known of one that cannot be seen.
  std::optional<DesktopEntry> find(std::int32_t pid, std::string_view binary) const;

 private:
  const DesktopEntries& entries_;
  const ProcessFiles& processes_;
};

}  // namespace brindlemux
