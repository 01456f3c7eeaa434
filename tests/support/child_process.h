#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace brindlemux::test {

/// What to run. The first argument is the program, found through PATH.
struct Command {
  std::vector<std::string> arguments;
  /// Added to this process's environment.
  std::map<std::string, std::string> environment = {};
  /// Where standard output goes; without it, ChildProcess::output() has it.
  std::filesystem::path outputFile = {};
};

/// A running program, in a process group of its own, with an empty standard input.
///
/// It is ended, with whatever it has started, when this object goes or this process dies. Threads: one; it must be the
/// main thread, whose end the kernel takes for the death of this process.
class ChildProcess {
 public:
  /// Throws std::system_error when no process can be made. A program that is not there ends with status 127.
  explicit ChildProcess(const Command& command);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  pid_t pid() const noexcept { return pid_; }
  bool running();
  /// The exit status, 128 + N after signal N, or nothing when it still runs at the deadline.
  std::optional<int> wait(std::chrono::milliseconds deadline);
  /// Nothing happens once it has ended.
  void signal(int number);
  /// Asks it to end with the signal, and kills it and its group at the deadline. Its exit status.
  int stop(int number, std::chrono::milliseconds deadline = std::chrono::seconds(10));

  /// What it has written until now. output() is empty when it goes to a file.
  std::string output() const;
  std::string error() const;

 private:
  int outputDescriptor_;
  int errorDescriptor_;
  pid_t pid_ = -1;
  std::optional<int> status_;
};

}  // namespace brindlemux::test
