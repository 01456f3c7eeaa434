#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "model/virtual_device_config.h"

namespace brindlemux::driver {

/// The file that keeps the driver's list from one start of the server to the next. It holds the payload of the driver's
/// property.
///
/// Of several servers that are given the same folder, one may write there: the first, for as long as it runs. The
/// others begin with what the file says and keep their own changes to themselves.
/// Owns the lock on the folder. Threads: one at a time. Errors: go to the server's log.
class DeviceFile {
 public:
  /// An empty path is no file: nothing is kept.
  explicit DeviceFile(std::filesystem::path path);
  ~DeviceFile();
  DeviceFile(const DeviceFile&) = delete;
  DeviceFile& operator=(const DeviceFile&) = delete;

  /// $XDG_STATE_HOME/brindlemux/devices.json, below ~/.local/state where that is not an absolute path; empty where
  /// there is no home folder either.
  static std::filesystem::path standardPath();

  /// The list of the file. A file that holds none is set aside; then, and without a file, the list is empty.
  std::vector<VirtualDeviceConfig> load() noexcept;
  /// Replaces the list of the file. Blocks until it is on the disk.
  void save(std::string_view payload) noexcept;

 private:
  bool lock();

  const std::filesystem::path path_;
  int lockedFolder_ = -1;
};

}  // namespace brindlemux::driver
