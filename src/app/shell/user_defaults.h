#pragma once

#include <QObject>
#include <QSettings>
#include <QString>
#include <QtQmlIntegration/qqmlintegration.h>

namespace brindlemux {

/// What the program remembers about the person beside the routing: which messages have been shown already. A value is
/// on the disk when its setter returns, so that nothing that ends the program takes it back.
///
/// Threads: the main thread. Errors: where nothing can be stored, values last until the program ends.
class UserDefaults : public QObject {
  Q_OBJECT
  QML_ELEMENT
  QML_UNCREATABLE("The program makes the only one")
  Q_PROPERTY(bool onboardingSeen READ onboardingSeen WRITE setOnboardingSeen NOTIFY onboardingSeenChanged FINAL)

 public:
  explicit UserDefaults(QObject* parent = nullptr);

  /// Whether the first-run pages have been closed once.
  bool onboardingSeen() const;
  void setOnboardingSeen(bool seen);

  /// Whether the person has been told that the program goes on in the tray.
  bool trayNoticeSeen() const;
  void setTrayNoticeSeen(bool seen);

 Q_SIGNALS:
  void onboardingSeenChanged();

 private:
  void store(const QString& key, bool value);

  QSettings settings_;
};

}  // namespace brindlemux
