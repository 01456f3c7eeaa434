#include "app/tray/private_bus.h"

#include <QUuid>
#include <fstream>
#include <stdexcept>

#include "support/wait_until.h"

namespace brindlemux::test {

PrivateBus::PrivateBus() {
  const std::filesystem::path configuration = folder_.path() / "bus.conf";
  // No folder of services: the bus starts no program of the system.
  std::ofstream(configuration) << "<busconfig><type>session</type><listen>" << address() << R"(</listen>
    <policy context="default"><allow send_destination="*"/><allow receive_sender="*"/><allow own="*"/></policy>
    </busconfig>)";
  daemon_ = std::make_unique<ChildProcess>(
      Command{{"dbus-daemon", "--nofork", "--print-address=1", "--config-file=" + configuration.string()}});
  if (!waitUntil([this] { return !daemon_->output().empty() || !daemon_->running(); }) || daemon_->output().empty()) {
    throw std::runtime_error("the bus did not start: " + daemon_->error());
  }
}

PrivateBus::~PrivateBus() {
  for (const QString& name : connections_) QDBusConnection::disconnectFromBus(name);
}

std::string PrivateBus::address() const { return "unix:path=" + (folder_.path() / "bus").string(); }

QDBusConnection PrivateBus::connect() {
  connections_.append(QUuid::createUuid().toString());
  QDBusConnection connection =
      QDBusConnection::connectToBus(QString::fromStdString(address()), connections_.constLast());
  if (!connection.isConnected()) throw std::runtime_error("no connection to the bus");
  return connection;
}

QDBusConnection noBus() { return QDBusConnection(QStringLiteral("no such bus")); }

}  // namespace brindlemux::test
