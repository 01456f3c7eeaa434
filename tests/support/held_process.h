#pragma once

#include <csignal>
#include <sys/types.h>

namespace brindlemux::test {

/// Keeps a process from doing anything while this object lives; it goes on afterwards.
class HeldProcess {
 public:
  explicit HeldProcess(pid_t process) : process_(process) { kill(process_, SIGSTOP); }
  ~HeldProcess() { kill(process_, SIGCONT); }
  HeldProcess(const HeldProcess&) = delete;
  HeldProcess& operator=(const HeldProcess&) = delete;

 private:
  const pid_t process_;
};

}  // namespace brindlemux::test
