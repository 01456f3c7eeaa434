#include "app/tray/status_notifier_item.h"

#include <QDBusMetaType>
#include <QImage>
#include <QImageReader>
#include <QStandardPaths>
#include <utility>

namespace brindlemux {
namespace {

const QString symbolicIcon = QStringLiteral("com.brindlemux.Brindlemux-symbolic");
const QString symbolicIconFile = QStringLiteral("icons/hicolor/symbolic/apps/com.brindlemux.Brindlemux-symbolic.svg");

/// The application's picture at the sizes at which trays show it, for scales of 1 to 3.
QList<TrayPixmap> applicationPixmaps() {
  QList<TrayPixmap> pixmaps;
  for (const int size : {16, 22, 24, 32, 48, 64}) {
    QImageReader reader(QStringLiteral(":/brindlemux/icons/com.brindlemux.Brindlemux.svg"));
    reader.setScaledSize({size, size});
    const QImage image = reader.read().convertToFormat(QImage::Format_ARGB32);
    if (image.isNull()) continue;
    TrayPixmap pixmap{image.width(), image.height(), {}};
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        const QRgb pixel = image.pixel(x, y);
        for (const int part : {qAlpha(pixel), qRed(pixel), qGreen(pixel), qBlue(pixel)}) {
          pixmap.bytes.append(static_cast<char>(part));
        }
      }
    }
    pixmaps.append(pixmap);
  }
  return pixmaps;
}

}  // namespace

QDBusArgument& operator<<(QDBusArgument& argument, const TrayPixmap& pixmap) {
  argument.beginStructure();
  argument << pixmap.width << pixmap.height << pixmap.bytes;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, TrayPixmap& pixmap) {
  argument.beginStructure();
  argument >> pixmap.width >> pixmap.height >> pixmap.bytes;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const TrayToolTip& toolTip) {
  argument.beginStructure();
  argument << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, TrayToolTip& toolTip) {
  argument.beginStructure();
  argument >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
  argument.endStructure();
  return argument;
}

StatusNotifierItem::StatusNotifierItem(QString menuPath, QObject* parent)
    : QObject(parent), menuPath_(std::move(menuPath)) {
  qDBusRegisterMetaType<TrayPixmap>();
  qDBusRegisterMetaType<QList<TrayPixmap>>();
  qDBusRegisterMetaType<TrayToolTip>();
  const bool isInstalled = !QStandardPaths::locate(QStandardPaths::GenericDataLocation, symbolicIconFile).isEmpty();
  // Not both: desktops differ in which of the two they prefer.
  if (isInstalled) {
    iconName_ = symbolicIcon;
  } else {
    pixmaps_ = applicationPixmaps();
  }
}

QString StatusNotifierItem::id() const { return QStringLiteral("com.brindlemux.Brindlemux"); }

TrayToolTip StatusNotifierItem::toolTip() const { return {iconName_, pixmaps_, title(), QString()}; }

void StatusNotifierItem::Activate(int, int) {
  if (onActivated) onActivated();
}

void StatusNotifierItem::SecondaryActivate(int, int) {}
void StatusNotifierItem::ContextMenu(int, int) {}
void StatusNotifierItem::Scroll(int, const QString&) {}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
  // From here the window takes it when it asks for the focus.
  qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

}  // namespace brindlemux
