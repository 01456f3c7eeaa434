#include "support/file_faults.h"

#include <cerrno>
#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

struct Fault {
  bool isArmed = false;
  bool hasStruck = false;
  int callsLeft = 0;
  int error = 0;
};
thread_local Fault fault;

bool strikes() noexcept {
  if (!fault.isArmed || fault.hasStruck || fault.callsLeft-- > 0) return false;
  fault.hasStruck = true;
  errno = fault.error;
  return true;
}

template <typename Function>
Function* next(const char* name) noexcept {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int mkdir(const char* path, mode_t mode) noexcept {
  static auto* const real = next<int(const char*, mode_t)>("mkdir");
  return strikes() ? -1 : real(path, mode);
}

__attribute__((visibility("default"))) int open(const char* path, int flags, ...) {
  static auto* const real = next<int(const char*, int, ...)>("open");
  va_list arguments;
  va_start(arguments, flags);
  const auto mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return strikes() ? -1 : real(path, flags, mode);
}

__attribute__((visibility("default"))) int fchmod(int file, mode_t mode) noexcept {
  static auto* const real = next<int(int, mode_t)>("fchmod");
  return strikes() ? -1 : real(file, mode);
}

__attribute__((visibility("default"))) ssize_t write(int file, const void* bytes, size_t count) {
  static auto* const real = next<ssize_t(int, const void*, size_t)>("write");
  return strikes() ? -1 : real(file, bytes, count);
}

__attribute__((visibility("default"))) int fsync(int file) {
  static auto* const real = next<int(int)>("fsync");
  return strikes() ? -1 : real(file);
}

__attribute__((visibility("default"))) int close(int file) {
  static auto* const real = next<int(int)>("close");
  const int result = real(file);
  return strikes() ? -1 : result;
}

__attribute__((visibility("default"))) int rename(const char* from, const char* to) noexcept {
  static auto* const real = next<int(const char*, const char*)>("rename");
  return strikes() ? -1 : real(from, to);
}

}  // extern "C"

namespace brindlemux::test {

FileFault::FileFault(int call, int error) {
  fault = {.isArmed = true, .hasStruck = false, .callsLeft = call, .error = error};
}

FileFault::~FileFault() { fault = {}; }

bool FileFault::hasStruck() const noexcept { return fault.hasStruck; }

}  // namespace brindlemux::test
