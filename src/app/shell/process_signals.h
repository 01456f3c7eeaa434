#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <csignal>
#include <initializer_list>
#include <memory>

namespace brindlemux {

/// Turns signals of the kernel's into one of Qt's on the main thread: SIGTERM, SIGINT and SIGHUP, so that the program
/// ends in order, and SIGUSR1, for which it tells how its routes are doing. A SIGHUP that is ignored stays so.
///
/// Threads: made on the main thread before any other exists, since a thread inherits which signals it holds back.
/// Errors: where the kernel gives no descriptor the signals keep their usual effect.
class ProcessSignals final : public QObject {
  Q_OBJECT

 public:
  explicit ProcessSignals(std::initializer_list<int> numbers);
  ~ProcessSignals() override;

  /// Begins to listen; needs the application object, whose event loop delivers.
  void listen();

 Q_SIGNALS:
  void received();

 private:
  void read();

  int descriptor_ = -1;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace brindlemux
