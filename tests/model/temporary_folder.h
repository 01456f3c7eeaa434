#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>

namespace brindlemux::test {

/// A folder of a test's own, removed with everything in it.
class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "brindlemux-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

inline void writeFile(const std::filesystem::path& file, std::string_view bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return (std::ostringstream() << stream.rdbuf()).str();
}

inline std::set<std::string> namesIn(const std::filesystem::path& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename().string());
  return names;
}

}  // namespace brindlemux::test
