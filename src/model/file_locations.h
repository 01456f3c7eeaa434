#pragma once

#include <filesystem>

namespace brindlemux {

/// Where the program keeps its files.
class FileLocations {
 public:
  virtual ~FileLocations() = default;
  /// The user's data directory, below which the program makes a folder of its own.
  virtual std::filesystem::path applicationSupport() const = 0;
};

/// $XDG_DATA_HOME where it is an absolute path, otherwise .local/share below the home folder; as the environment is at
/// construction, since it must not be read while another thread may change it.
/// Threads: any, once it is made. Errors: a user without a home folder is fatal.
class UserFileLocations final : public FileLocations {
 public:
  UserFileLocations();
  std::filesystem::path applicationSupport() const override { return applicationSupport_; }

 private:
  std::filesystem::path applicationSupport_;
};

}  // namespace brindlemux
