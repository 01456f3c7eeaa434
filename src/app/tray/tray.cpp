#include "app/tray/tray.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace brindlemux {
namespace {

const QString watcherService = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString watcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString itemPath = QStringLiteral("/StatusNotifierItem");
const QString menuPath = QStringLiteral("/MenuBar");

constexpr auto exported =
    QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals | QDBusConnection::ExportAllProperties;

QDBusMessage callToWatcher(const QString& interface, const QString& method) {
  QDBusMessage call = QDBusMessage::createMethodCall(watcherService, watcherPath, interface, method);
  // A tray is not to be started because of this program.
  call.setAutoStartService(false);
  return call;
}

}  // namespace

Tray::Tray(const QDBusConnection& bus, QObject* parent)
    : QObject(parent),
      bus_(bus),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid())),
      item_(menuPath),
      watcher_(watcherService, bus_, QDBusServiceWatcher::WatchForOwnerChange) {
  item_.onActivated = [this] { Q_EMIT activated(); };
  if (bus_.isConnected()) offer();
}

void Tray::offer() {
  // The two leave the bus as they are destroyed, and the name with the connection: to give it up would wait for the
  // bus, which may not answer any more.
  bus_.registerObject(menuPath, &menu_, exported);
  bus_.registerObject(itemPath, &item_, exported);
  bus_.registerService(service_);
  connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this, &Tray::watcherChanged);
  for (const QString& signal :
       {QStringLiteral("StatusNotifierHostRegistered"), QStringLiteral("StatusNotifierHostUnregistered")}) {
    bus_.connect(watcherService, watcherPath, watcherService, signal, this, SLOT(askForHost()));
  }
  bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"), QStringLiteral("org.freedesktop.DBus.Local"),
               QStringLiteral("Disconnected"), this, SLOT(forgetTray()));
  registerItem();
}

void Tray::forgetTray() {
  ++generation_;
  isRegistered_ = false;
  setShown(false);
}

void Tray::watcherChanged(const QString&, const QString&, const QString& current) {
  forgetTray();
  if (!current.isEmpty()) registerItem();
}

void Tray::registerItem() {
  QDBusMessage call = callToWatcher(watcherService, QStringLiteral("RegisterStatusNotifierItem"));
  call << service_;
  auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(reply, &QDBusPendingCallWatcher::finished, this, [this, generation = generation_, reply] {
    reply->deleteLater();
    if (generation != generation_ || reply->isError()) return;
    isRegistered_ = true;
    askForHost();
  });
}

void Tray::askForHost() {
  if (!isRegistered_) return;
  QDBusMessage call = callToWatcher(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
  call << watcherService << QStringLiteral("IsStatusNotifierHostRegistered");
  auto* reply = new QDBusPendingCallWatcher(bus_.asyncCall(call), this);
  connect(reply, &QDBusPendingCallWatcher::finished, this, [this, generation = generation_, reply] {
    reply->deleteLater();
    if (generation != generation_) return;
    const QDBusPendingReply<QDBusVariant> answer = *reply;
    // One that takes items and does not say whether it shows them does.
    setShown(answer.isError() || answer.value().variant().toBool());
  });
}

void Tray::setShown(bool shown) {
  if (isShown_ == shown) return;
  isShown_ = shown;
  Q_EMIT isShownChanged();
}

}  // namespace brindlemux
