#include "app/tray/fake_notifications.h"

#include <stdexcept>

namespace brindlemux::test {

FakeNotifications::FakeNotifications(const QDBusConnection& bus) : bus_(bus) {
  bus_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this, QDBusConnection::ExportAllSlots);
  bus_.registerService(QStringLiteral("org.freedesktop.Notifications"));
}

FakeNotifications::~FakeNotifications() { bus_.unregisterService(QStringLiteral("org.freedesktop.Notifications")); }

uint FakeNotifications::Notify(const QString&, uint, const QString&, const QString& summary, const QString&,
                               const QStringList&, const QVariantMap&, int) {
  summaries.append(summary);
  return 1;
}

}  // namespace brindlemux::test
