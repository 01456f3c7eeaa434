#include "app/tray/desktop_notification.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>
#include <utility>

namespace brindlemux {

void notifyDesktop(const QDBusConnection& bus, const QString& summary, const QString& body,
                   std::function<void()> delivered) {
  if (!bus.isConnected()) return;
  const QString application = QStringLiteral("com.brindlemux.Brindlemux");
  const QString service = QStringLiteral("org.freedesktop.Notifications");
  QDBusMessage call = QDBusMessage::createMethodCall(service, QStringLiteral("/org/freedesktop/Notifications"), service,
                                                     QStringLiteral("Notify"));
  const uint replacesNone = 0;
  const int defaultTime = -1;
  call << QStringLiteral("Brindlemux") << replacesNone << application << summary << body << QStringList()
       << QVariantMap{{QStringLiteral("desktop-entry"), application}} << defaultTime;
  auto* reply = new QDBusPendingCallWatcher(bus.asyncCall(call));
  QObject::connect(reply, &QDBusPendingCallWatcher::finished, reply, [reply, delivered = std::move(delivered)] {
    reply->deleteLater();
    if (!reply->isError()) delivered();
  });
}

}  // namespace brindlemux
