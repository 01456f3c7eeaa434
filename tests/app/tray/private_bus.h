#pragma once

#include <QDBusConnection>
#include <QString>
#include <memory>

#include "support/child_process.h"
#include "support/temporary_folder.h"

namespace brindlemux::test {

/// A session bus of a test's own, with nothing on it.
///
/// Threads: the main thread (see ChildProcess).
class PrivateBus {
 public:
  /// Throws std::runtime_error when the bus does not start.
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  std::string address() const;
  /// Ends the bus under those who are connected.
  void stop() { daemon_.reset(); }
  /// A connection of its own for each call, as if of another program.
  QDBusConnection connect();

 private:
  TemporaryFolder folder_;
  std::unique_ptr<ChildProcess> daemon_;
  QStringList connections_;
};

/// A connection to no bus.
QDBusConnection noBus();

}  // namespace brindlemux::test
