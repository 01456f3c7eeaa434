#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace brindlemux::test {

/// A folder of a test's own; it goes, with all it holds, with this object.
class TemporaryFolder {
 public:
  /// Below `parent`; as it stands, the path is short enough for sockets below it. Throws std::system_error when it
  /// cannot be made.
  explicit TemporaryFolder(const std::filesystem::path& parent = "/tmp") {
    std::string name = (parent / "brindlemux-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace brindlemux::test
