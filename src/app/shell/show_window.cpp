#include "app/shell/show_window.h"

namespace brindlemux {

void showWindow(QQuickWindow& window) {
  const Qt::WindowStates unfolded = window.windowStates() & ~Qt::WindowMinimized;
  window.setVisible(true);
  window.setWindowStates(unfolded);
  window.raise();
  window.requestActivate();
}

}  // namespace brindlemux
