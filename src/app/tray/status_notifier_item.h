#pragma once

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QList>
#include <QObject>
#include <QString>
#include <functional>

namespace brindlemux {

/// (iiay): a picture, its pixels as alpha, red, green and blue bytes, row by row.
struct TrayPixmap {
  int width = 0;
  int height = 0;
  QByteArray bytes;
};

/// (sa(iiay)ss): what shows while the pointer rests on the icon.
struct TrayToolTip {
  QString iconName;
  QList<TrayPixmap> pixmaps;
  QString title;
  QString text;
};

QDBusArgument& operator<<(QDBusArgument& argument, const TrayPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, TrayPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const TrayToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, TrayToolTip& toolTip);

/// The icon in the tray, as the desktop reads it over the bus: the object of the interface org.kde.StatusNotifierItem.
/// Slots and properties have the names that the interface gives them.
///
/// Where the program's icons are installed, the desktop draws the symbolic one in the colour of its tray, light or
/// dark, or where it does not colour icons in a grey that shows on both; elsewhere it gets the picture of the
/// application, which stands out on both.
///
/// Threads: the main thread.
class StatusNotifierItem final : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
  Q_PROPERTY(QString Category READ category CONSTANT)
  Q_PROPERTY(QString Id READ id CONSTANT)
  Q_PROPERTY(QString Title READ title CONSTANT)
  Q_PROPERTY(QString Status READ status CONSTANT)
  Q_PROPERTY(int WindowId READ windowId CONSTANT)
  Q_PROPERTY(QString IconName READ iconName CONSTANT)
  Q_PROPERTY(QList<brindlemux::TrayPixmap> IconPixmap READ iconPixmap CONSTANT)
  Q_PROPERTY(QString IconAccessibleDesc READ title CONSTANT)
  Q_PROPERTY(brindlemux::TrayToolTip ToolTip READ toolTip CONSTANT)
  Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
  Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

 public:
  explicit StatusNotifierItem(QString menuPath, QObject* parent = nullptr);

  QString category() const { return QStringLiteral("ApplicationStatus"); }
  QString id() const;
  QString title() const { return QStringLiteral("Brindlemux"); }
  QString status() const { return QStringLiteral("Active"); }
  int windowId() const { return 0; }
  QString iconName() const { return iconName_; }
  QList<TrayPixmap> iconPixmap() const { return pixmaps_; }
  TrayToolTip toolTip() const;
  bool itemIsMenu() const { return true; }
  QDBusObjectPath menu() const { return QDBusObjectPath(menuPath_); }

  /// Called when the desktop reports a click instead of showing the menu.
  std::function<void()> onActivated;

 public Q_SLOTS:
  void Activate(int x, int y);
  void SecondaryActivate(int x, int y);
  void ContextMenu(int x, int y);
  void Scroll(int delta, const QString& orientation);
  void ProvideXdgActivationToken(const QString& token);

 private:
  const QString menuPath_;
  QString iconName_;
  QList<TrayPixmap> pixmaps_;
};

}  // namespace brindlemux

Q_DECLARE_METATYPE(brindlemux::TrayPixmap)
Q_DECLARE_METATYPE(brindlemux::TrayToolTip)
