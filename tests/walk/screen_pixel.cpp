// Prints the colour of points of the X display as #rrggbb, a line each: screen_pixel X Y [X Y]...
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <cstdio>
#include <cstdlib>

int main(int argc, char* argv[]) {
  qputenv("QT_QPA_PLATFORM", "xcb");
  qunsetenv("QT_SCALE_FACTOR");
  const QGuiApplication application(argc, argv);
  const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
  for (int argument = 1; argument + 1 < argc; argument += 2) {
    const QPoint point(std::atoi(argv[argument]), std::atoi(argv[argument + 1]));
    if (!screen.rect().contains(point)) return 1;
    std::printf("%s\n", qPrintable(screen.pixelColor(point).name()));
  }
  return 0;
}
