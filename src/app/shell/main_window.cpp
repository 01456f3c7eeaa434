#include "app/shell/main_window.h"

#include <QQuickStyle>

namespace brindlemux {

void MainWindow::chooseStyle() {
  // The look is the program's own; Basic is the style that needs no other module.
  QQuickStyle::setStyle(QStringLiteral("Basic"));
}

MainWindow::MainWindow(AppState& state, UserDefaults& defaults) {
  engine_.setInitialProperties({{QStringLiteral("appState"), QVariant::fromValue(&state)},
                                {QStringLiteral("defaults"), QVariant::fromValue(&defaults)}});
  engine_.load(QUrl(QStringLiteral("qrc:/qt-project.org/imports/Brindlemux/Shell/MainWindow.qml")));
}

QQuickWindow* MainWindow::window() const {
  return engine_.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow*>(engine_.rootObjects().constFirst());
}

}  // namespace brindlemux
