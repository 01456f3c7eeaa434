#include "driver/device_file.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>
#include <variant>

#include "driver/guarded.h"
#include "model/driver_payload.h"
#include "model/read_regular_file.h"
#include "model/replace_file.h"
#include "model/set_aside.h"

namespace brindlemux::driver {
namespace {

std::filesystem::path absoluteFolder(const char* variable) {
  const char* const value = std::getenv(variable);
  return value != nullptr && *value == '/' ? value : std::filesystem::path();
}

std::int64_t secondsSince1970() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch()).count();
}

}  // namespace

DeviceFile::DeviceFile(std::filesystem::path path) : path_(std::move(path)) {}

DeviceFile::~DeviceFile() {
  if (lockedFolder_ >= 0) close(lockedFolder_);
}

std::filesystem::path DeviceFile::standardPath() {
  std::filesystem::path folder = absoluteFolder("XDG_STATE_HOME");
  if (folder.empty()) {
    folder = absoluteFolder("HOME");
    if (folder.empty()) return {};
    folder /= ".local/state";
  }
  return folder / "brindlemux" / "devices.json";
}

std::vector<VirtualDeviceConfig> DeviceFile::load() noexcept {
  std::vector<VirtualDeviceConfig> devices;
  guarded("load the devices", [&] {
    if (path_.empty()) return;
    removeLeftovers(path_);
    if (!exists(symlink_status(path_))) return;
    // One byte more than what is accepted: a text that is cut off must not become a shorter one that is.
    const auto text = readRegularFile(path_, driverPayloadMostBytes + 1);
    auto decoded = decodeDriverPayload(text ? *text : "");
    if (auto* list = std::get_if<std::vector<VirtualDeviceConfig>>(&decoded)) {
      devices = std::move(*list);
      return;
    }
    pw_log_warn("brindlemux: %s holds no list of devices: %s", path_.c_str(),
                text ? std::get<PayloadError>(decoded).reason.c_str() : "it cannot be read");
    if (lock()) setAside(path_, secondsSince1970());
  });
  return devices;
}

void DeviceFile::save(std::string_view payload) noexcept {
  guarded("save the devices", [&] {
    if (path_.empty()) return;
    create_directories(path_.parent_path());
    if (lock()) {
      replaceFile(path_, payload);
    } else {
      pw_log_warn("brindlemux: the devices are not saved: another server keeps its own in %s", path_.c_str());
    }
  });
}

// The lock goes with the descriptor, however the server ends.
bool DeviceFile::lock() {
  if (lockedFolder_ >= 0) return true;
  const int folder = open(path_.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return false;
  if (flock(folder, LOCK_EX | LOCK_NB) != 0) {
    close(folder);
    return false;
  }
  lockedFolder_ = folder;
  return true;
}

}  // namespace brindlemux::driver
