#pragma once

#include <QObject>
#include <QSocketNotifier>
#include <memory>

namespace brindlemux {

/// Turns SIGTERM and SIGINT into a Qt signal on the main thread, so that the program ends in order.
///
/// Threads: made on the main thread before any other exists, since a thread inherits which signals it holds back.
/// Errors: where the kernel gives no descriptor the signals keep their usual effect.
class TerminationSignals final : public QObject {
  Q_OBJECT

 public:
  TerminationSignals();
  ~TerminationSignals() override;

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
