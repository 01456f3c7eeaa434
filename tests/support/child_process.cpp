#include "support/child_process.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include "support/wait_until.h"

namespace brindlemux::test {
namespace {

int checked(int result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

std::vector<std::string> mergedEnvironment(const std::map<std::string, std::string>& added) {
  std::vector<std::string> merged;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (!added.contains(text.substr(0, text.find('=')))) merged.push_back(text);
  }
  for (const auto& [name, value] : added) merged.push_back(name + "=" + value);
  return merged;
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) result.push_back(text.data());
  result.push_back(nullptr);
  return result;
}

std::string contents(int descriptor) {
  std::string text;
  char block[65536];
  while (true) {
    const ssize_t count = pread(descriptor, block, sizeof block, static_cast<off_t>(text.size()));
    if (count <= 0) return text;
    text.append(block, static_cast<std::size_t>(count));
  }
}

}  // namespace

ChildProcess::ChildProcess(const Command& command)
    : outputDescriptor_(checked(memfd_create("stdout", MFD_CLOEXEC), "memfd_create")),
      errorDescriptor_(checked(memfd_create("stderr", MFD_CLOEXEC), "memfd_create")) {
  std::vector<std::string> arguments = command.arguments;
  std::vector<std::string> environment = mergedEnvironment(command.environment);
  const std::vector<char*> argumentPointers = pointers(arguments);
  const std::vector<char*> environmentPointers = pointers(environment);
  const pid_t parent = getpid();
  pid_ = checked(fork(), "fork");
  if (pid_ != 0) {
    // Both do it, so that the group exists whoever runs first.
    setpgid(pid_, pid_);
    return;
  }
  // From here to exec only calls that are safe after a fork of a process with threads.
  setpgid(0, 0);
  // Signals that this process holds back end the child all the same.
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  // Nor does it matter whether whoever runs the tests has them live on without a terminal.
  ::signal(SIGHUP, SIG_DFL);
  prctl(PR_SET_PDEATHSIG, SIGTERM);
  if (getppid() != parent) _exit(127);
  const int input = open("/dev/null", O_RDONLY);
  int output = outputDescriptor_;
  if (!command.outputFile.empty()) output = open(command.outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(errorDescriptor_, STDERR_FILENO);
  execvpe(argumentPointers[0], argumentPointers.data(), environmentPointers.data());
  _exit(127);
}

ChildProcess::~ChildProcess() {
  stop(SIGTERM);
  close(outputDescriptor_);
  close(errorDescriptor_);
}

bool ChildProcess::running() { return !wait(std::chrono::milliseconds(0)); }

std::optional<int> ChildProcess::wait(std::chrono::milliseconds deadline) {
  waitUntil(
      [this] {
        int status = 0;
        if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
          status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        return status_.has_value();
      },
      deadline);
  return status_;
}

void ChildProcess::signal(int number) {
  if (running()) kill(pid_, number);
}

int ChildProcess::stop(int number, std::chrono::milliseconds deadline) {
  signal(number);
  if (const auto status = wait(deadline)) return *status;
  // The leader still exists, so the group's number is still its own.
  kill(-pid_, SIGKILL);
  return *wait(std::chrono::hours(1));
}

std::string ChildProcess::output() const { return contents(outputDescriptor_); }

std::string ChildProcess::error() const { return contents(errorDescriptor_); }

}  // namespace brindlemux::test
