#pragma once

#include <QDeadlineTimer>
#include <QLocalServer>
#include <QObject>
#include <chrono>
#include <filesystem>

#include "app/shell/instance_lock.h"
#include "model/system_log.h"

class QLocalSocket;

namespace brindlemux {

/// Keeps a second program from working on the same graphs file: it asks the one that runs to show its window instead.
///
/// Who holds the lock beside the file is the one; it answers on a local socket whose path stands in the lock file.
///
/// Threads: the main thread; the one that runs answers from its event loop. Borrows the log.
class SingleInstance final : public QObject {
  Q_OBJECT

 public:
  enum class Standing {
    alone,       ///< no other works on the file, as far as can be known
    handedOver,  ///< another one does, and has shown its window
    unreachable  ///< another one does, and could not be reached
  };

  /// How long a second program tries: another that starts or ends is busy for a moment.
  static constexpr std::chrono::milliseconds usualPatience{5000};

  SingleInstance(const std::filesystem::path& graphsFile, SystemLog& log);

  /// Finds out, and when there is another one has it show its window. Blocks for as long as `patience` in the worst
  /// case. A lock or a socket that cannot be made costs a line in the log, not the start.
  Standing claim(std::chrono::milliseconds patience = usualPatience);

 Q_SIGNALS:
  /// Another program was started in vain: the window is to be shown.
  void windowWanted();

 private:
  bool askOther(const QDeadlineTimer& deadline) const;
  void removeLeftOverSocket() const;
  void listen();
  void accept();
  void answer(QLocalSocket& socket);
  QByteArray request() const;

  SystemLog& log_;
  InstanceLock lock_;
  QLocalServer server_;
};

}  // namespace brindlemux
