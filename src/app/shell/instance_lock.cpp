#include "app/shell/instance_lock.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace brindlemux {

InstanceLock::InstanceLock(const std::filesystem::path& file) {
  std::error_code error;
  path_ = std::filesystem::weakly_canonical(file, error);
  if (error) path_ = file;
  path_ += ".lock";
}

InstanceLock::~InstanceLock() {
  if (descriptor_ >= 0) close(descriptor_);
}

InstanceLock::State InstanceLock::tryAcquire() {
  if (state_ == State::held) return state_;
  if (descriptor_ < 0) {
    std::error_code ignored;
    std::filesystem::create_directories(path_.parent_path(), ignored);
    // Programs that this one starts must not inherit the lock. A pipe in the file's place must not block.
    descriptor_ = open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
  }
  if (descriptor_ < 0) return state_ = State::unavailable;
  int result = 0;
  do result = flock(descriptor_, LOCK_EX | LOCK_NB);
  while (result != 0 && errno == EINTR);
  if (result == 0) return state_ = State::held;
  return state_ = errno == EWOULDBLOCK ? State::heldByOther : State::unavailable;
}

std::string InstanceLock::identity() const {
  struct stat status {};
  if (descriptor_ < 0 || fstat(descriptor_, &status) != 0) return {};
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

std::string InstanceLock::address() const {
  constexpr std::size_t longest = 4096;
  std::string text(longest, '\0');
  const ssize_t count = descriptor_ < 0 ? 0 : pread(descriptor_, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

bool InstanceLock::setAddress(const std::string& address) {
  if (state_ != State::held || ftruncate(descriptor_, 0) != 0) return false;
  return pwrite(descriptor_, address.data(), address.size(), 0) == static_cast<ssize_t>(address.size());
}

}  // namespace brindlemux
