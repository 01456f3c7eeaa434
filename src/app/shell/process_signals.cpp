#include "app/shell/process_signals.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace brindlemux {
namespace {

/// Whether whoever started the program wants it to live on without its terminal, as nohup does.
bool survivesHangUp() {
  struct sigaction action {};
  return sigaction(SIGHUP, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

}  // namespace

ProcessSignals::ProcessSignals(std::initializer_list<int> numbers) {
  sigset_t set;
  sigemptyset(&set);
  for (const int number : numbers) {
    // Held back it would be delivered, although it is ignored.
    if (number != SIGHUP || !survivesHangUp()) sigaddset(&set, number);
  }
  descriptor_ = signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK);
  // Held back from their usual effect only where they can be read instead.
  if (descriptor_ >= 0) pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

ProcessSignals::~ProcessSignals() {
  notifier_.reset();
  if (descriptor_ < 0) return;
  // A signal that arrives after the orderly end shall not cut the last steps short: it stays held back.
  close(descriptor_);
}

void ProcessSignals::listen() {
  if (descriptor_ < 0) return;
  notifier_ = std::make_unique<QSocketNotifier>(descriptor_, QSocketNotifier::Read);
  connect(notifier_.get(), &QSocketNotifier::activated, this, &ProcessSignals::read);
}

void ProcessSignals::read() {
  signalfd_siginfo information;
  bool any = false;
  while (::read(descriptor_, &information, sizeof information) == static_cast<ssize_t>(sizeof information)) any = true;
  if (any) Q_EMIT received();
}

}  // namespace brindlemux
