#include "app/shell/show_window.h"

#include <gtest/gtest.h>

namespace brindlemux {
namespace {

TEST(ShowWindow, showsAHiddenWindow) {
  QQuickWindow window;
  showWindow(window);
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(window.windowStates(), Qt::WindowNoState);
}

TEST(ShowWindow, unfoldsAMinimisedWindow) {
  QQuickWindow window;
  window.showMinimized();
  showWindow(window);
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(window.windowStates(), Qt::WindowNoState);
}

TEST(ShowWindow, leavesAMaximisedWindowMaximised) {
  QQuickWindow window;
  window.setWindowStates(Qt::WindowMaximized | Qt::WindowMinimized);
  showWindow(window);
  EXPECT_EQ(window.windowStates(), Qt::WindowMaximized);
  showWindow(window);
  EXPECT_EQ(window.windowStates(), Qt::WindowMaximized);
}

TEST(ShowWindow, hiddenWindowKeepsItsState) {
  QQuickWindow window;
  window.showMaximized();
  window.hide();
  showWindow(window);
  EXPECT_TRUE(window.isVisible());
  EXPECT_EQ(window.windowStates(), Qt::WindowMaximized);
}

}  // namespace
}  // namespace brindlemux
