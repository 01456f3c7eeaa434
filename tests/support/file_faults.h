#pragma once

namespace brindlemux::test {

/// While it exists, one call of this thread that changes files fails: number `call`, counted from 0, of its mkdir,
/// open, fchmod, write, fsync, close and rename. A close that fails has closed nonetheless, as the kernel's does.
/// Removing a file never fails.
///
/// It replaces functions of the C library in the program that links it. Threads: the one that made it.
class FileFault {
 public:
  FileFault(int call, int error);
  ~FileFault();
  FileFault(const FileFault&) = delete;
  FileFault& operator=(const FileFault&) = delete;

  /// Whether it came to that call.
  bool hasStruck() const noexcept;
};

}  // namespace brindlemux::test
