#pragma once

#include <QQuickWindow>

namespace brindlemux {

/// Brings a window before the person: shows it when it is hidden, unfolds it when it is minimised, and puts it above
/// the others as far as the desktop allows. A window that fills the screen goes on doing so.
///
/// Threads: the main thread.
void showWindow(QQuickWindow& window);

}  // namespace brindlemux
