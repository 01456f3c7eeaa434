#include <QGuiApplication>
#include <gtest/gtest.h>

/// Tests that need Qt's event loop or its windows: nothing is shown, and nothing needs a graphics processor.
int main(int argc, char* argv[]) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("QT_QUICK_BACKEND", "software");
  testing::InitGoogleTest(&argc, argv);
  const QGuiApplication application(argc, argv);
  return RUN_ALL_TESTS();
}
