#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantMap>

namespace brindlemux::test {

/// What shows messages on a desktop, played by a test.
class FakeNotifications : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
  explicit FakeNotifications(const QDBusConnection& bus);
  ~FakeNotifications() override;

  /// The first lines of what was shown.
  QStringList summaries;

 public Q_SLOTS:
  uint Notify(const QString& application, uint replaces, const QString& icon, const QString& summary,
              const QString& body, const QStringList& actions, const QVariantMap& hints, int expires);

 private:
  QDBusConnection bus_;
};

}  // namespace brindlemux::test
