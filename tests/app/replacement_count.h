#pragma once

#include <array>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/inotify.h>
#include <system_error>
#include <unistd.h>

namespace brindlemux::test {

/// Counts how often another file takes a file's place, by what the system says about its folder.
class ReplacementCount {
 public:
  explicit ReplacementCount(const std::filesystem::path& file)
      : name_(file.filename().string()), descriptor_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    // Equal events in a row are reported as one: the making of the temporary file stands between two replacements.
    if (descriptor_ < 0 || inotify_add_watch(descriptor_, file.parent_path().c_str(), IN_MOVED_TO | IN_CREATE) < 0) {
      throw std::system_error(errno, std::generic_category(), "cannot watch the folder");
    }
  }
  ~ReplacementCount() { close(descriptor_); }
  ReplacementCount(const ReplacementCount&) = delete;
  ReplacementCount& operator=(const ReplacementCount&) = delete;

  /// Since the last call. At most some eight thousand are kept.
  int untilNow() const {
    int count = 0;
    alignas(inotify_event) std::array<char, 64 * (sizeof(inotify_event) + NAME_MAX + 1)> events{};
    while (true) {
      const ssize_t bytes = read(descriptor_, events.data(), events.size());
      if (bytes <= 0) return count;
      for (ssize_t at = 0; at < bytes;) {
        const auto* event = reinterpret_cast<const inotify_event*>(events.data() + at);
        if ((event->mask & IN_MOVED_TO) != 0 && std::string_view(event->name) == name_) ++count;
        at += static_cast<ssize_t>(sizeof(inotify_event)) + event->len;
      }
    }
  }

 private:
  std::string name_;
  int descriptor_;
};

}  // namespace brindlemux::test
