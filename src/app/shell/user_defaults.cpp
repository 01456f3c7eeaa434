#include "app/shell/user_defaults.h"

namespace brindlemux {
namespace {

const QString onboardingKey = QStringLiteral("onboarding.seen");
const QString trayNoticeKey = QStringLiteral("trayNotice.seen");

}  // namespace

UserDefaults::UserDefaults(QObject* parent)
    : QObject(parent), settings_(QStringLiteral("Brindlemux"), QStringLiteral("Brindlemux")) {
  // The desktop's own shared settings are none of ours.
  settings_.setFallbacksEnabled(false);
}

bool UserDefaults::onboardingSeen() const { return settings_.value(onboardingKey, false).toBool(); }

void UserDefaults::setOnboardingSeen(bool seen) {
  if (seen == onboardingSeen()) return;
  store(onboardingKey, seen);
  Q_EMIT onboardingSeenChanged();
}

bool UserDefaults::trayNoticeSeen() const { return settings_.value(trayNoticeKey, false).toBool(); }

void UserDefaults::setTrayNoticeSeen(bool seen) { store(trayNoticeKey, seen); }

void UserDefaults::store(const QString& key, bool value) {
  settings_.setValue(key, value);
  settings_.sync();
}

}  // namespace brindlemux
