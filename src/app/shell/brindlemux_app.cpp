#include "app/shell/brindlemux_app.h"

#include <QEvent>
#include <QGuiApplication>

#include "app/shell/show_window.h"
#include "app/tray/desktop_notification.h"

namespace brindlemux {

BrindlemuxApp::BrindlemuxApp(AppState& state, UserDefaults& defaults, Scheduler& scheduler,
                             const QDBusConnection& sessionBus)
    : state_(state),
      defaults_(defaults),
      scheduler_(scheduler),
      bus_(sessionBus),
      tray_(sessionBus),
      menu_(state, tray_.menu()) {
  // Whether the last window ends the program is decided here.
  QGuiApplication::setQuitOnLastWindowClosed(false);
  qApp->installEventFilter(this);
  connect(&menu_, &MenuBarContent::openWindow, this, &BrindlemuxApp::openWindow);
  connect(&menu_, &MenuBarContent::quit, this, &BrindlemuxApp::quit);
  connect(&tray_, &Tray::activated, this, &BrindlemuxApp::openWindow);
  connect(&tray_, &Tray::isShownChanged, this, &BrindlemuxApp::trayChanged);
}

BrindlemuxApp::~BrindlemuxApp() {
  if (QQuickWindow* open = window()) open->disconnect(this);
}

QQuickWindow* BrindlemuxApp::window() const {
  QQuickWindow* made = window_ ? window_->window() : nullptr;
  return made != nullptr && made->isVisible() ? made : nullptr;
}

bool BrindlemuxApp::openWindow() {
  if (window() != nullptr) {
    showWindow(*window());
  } else {
    window_ = std::make_unique<MainWindow>(state_, defaults_);
    if (window_->window() == nullptr) return false;
    connect(window_->window(), &QWindow::visibleChanged, this, [this](bool visible) {
      if (!visible) windowClosed();
    });
    // It comes up in front by itself.
    window_->window()->requestActivate();
  }
  return true;
}

void BrindlemuxApp::quit() { QCoreApplication::exit(0); }

void BrindlemuxApp::windowClosed() {
  if (!tray_.isShown()) {
    quit();
    return;
  }
  // Later, since this is called by the window itself. Another one may be open by then.
  QMetaObject::invokeMethod(
      this,
      [this] {
        if (window() == nullptr) window_.reset();
      },
      Qt::QueuedConnection);
  tellOfTray();
}

void BrindlemuxApp::tellOfTray() {
  if (defaults_.trayNoticeSeen()) return;
  notifyDesktop(bus_, QStringLiteral("Brindlemux keeps running"),
                QStringLiteral("Your devices go on routing. Open or quit Brindlemux from its icon in the tray."),
                [defaults = QPointer(&defaults_)] {
                  if (defaults) defaults->setTrayNoticeSeen(true);
                });
}

void BrindlemuxApp::trayChanged() {
  reopening_.reset();
  if (tray_.isShown() || window() != nullptr) return;
  reopening_ = scheduler_.after(trayPatience, [this] {
    if (!tray_.isShown() && window() == nullptr) openWindow();
  });
}

bool BrindlemuxApp::eventFilter(QObject* watched, QEvent* event) {
  if (watched != qApp || event->type() != QEvent::Quit) return QObject::eventFilter(watched, event);
  // The session's end asks this way. Left alone it would close the window first, as if a person had.
  quit();
  return true;
}

}  // namespace brindlemux
