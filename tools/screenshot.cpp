#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <cstdio>
#include <cstdlib>

/// Saves what the X display shows as a picture: brindlemux-screenshot FILE.PNG. For displays that nobody can see.
int main(int argc, char* argv[]) {
  // Other kinds of display do not let one program look at what another shows.
  qputenv("QT_QPA_PLATFORM", "xcb");
  const QGuiApplication application(argc, argv);
  if (argc != 2) {
    std::fputs("usage: brindlemux-screenshot FILE.PNG\n", stderr);
    return 2;
  }
  const QPixmap picture = QGuiApplication::primaryScreen()->grabWindow(0);
  if (picture.isNull() || !picture.save(QString::fromLocal8Bit(argv[1]), "PNG")) {
    std::fprintf(stderr, "brindlemux-screenshot: cannot save %s\n", argv[1]);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}
