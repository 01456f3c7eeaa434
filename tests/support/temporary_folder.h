#pragma once

#include <filesystem>

namespace brindlemux::test {

/// A folder of a test's own, with a path short enough for sockets below it; it goes, with all it holds, with this
/// object.
class TemporaryFolder {
 public:
  /// Throws std::system_error when it cannot be made.
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace brindlemux::test
