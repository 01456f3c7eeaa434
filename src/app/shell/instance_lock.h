#pragma once

#include <filesystem>
#include <string>

namespace brindlemux {

/// The right to be the only program that works on a file: a lock file beside it, which the kernel lets go of when the
/// program ends, however it ends. Its holder writes into it where it can be reached.
///
/// The lock file stays when the program ends, since a file that is taken away could be locked twice.
///
/// Threads: one at a time.
class InstanceLock {
 public:
  enum class State {
    free,         ///< nothing tried yet
    held,         ///< by this object
    heldByOther,  ///< by another program, or by another object of this one
    unavailable   ///< there can be no lock here: a folder that cannot be written, or a file system without locks
  };

  /// The lock of `file`, which need not exist. Of a symbolic link, that of the file it leads to.
  explicit InstanceLock(const std::filesystem::path& file);
  ~InstanceLock();
  InstanceLock(const InstanceLock&) = delete;
  InstanceLock& operator=(const InstanceLock&) = delete;

  State tryAcquire();
  State state() const noexcept { return state_; }

  const std::filesystem::path& path() const noexcept { return path_; }

  /// What tells this lock file from every other one of this machine, whatever path leads to it.
  std::string identity() const;

  /// Where the holder can be reached, as it or its predecessor wrote; empty when there is nothing or none.
  std::string address() const;
  /// For the holder. Returns whether it could be written.
  bool setAddress(const std::string& address);

 private:
  std::filesystem::path path_;
  int descriptor_ = -1;
  State state_ = State::free;
};

}  // namespace brindlemux
