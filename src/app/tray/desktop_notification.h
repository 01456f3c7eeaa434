#pragma once

#include <QDBusConnection>
#include <QString>
#include <functional>

namespace brindlemux {

/// Has the desktop show a short message beside the windows. `delivered` is called on the main thread when it has taken
/// the message, and never when there is nothing on the bus that shows such messages.
///
/// Threads: the main thread; does not wait.
void notifyDesktop(const QDBusConnection& bus, const QString& summary, const QString& body,
                   std::function<void()> delivered);

}  // namespace brindlemux
