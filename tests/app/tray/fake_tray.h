#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <QStringList>

#include "app/tray/menu_wire.h"

namespace brindlemux::test {

/// What keeps a desktop's tray, played by a test: takes items, says whether it shows them, and reads and uses their
/// menus over the bus, as a panel does. Slots and properties have the names that the interface gives them.
class FakeTray : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
  Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

 public:
  enum class Host { present, absent };

  explicit FakeTray(const QDBusConnection& bus, Host host = Host::present);
  ~FakeTray() override;

  bool hasHost() const { return hasHost_; }
  void setHost(Host host);

  /// The services of the items that were registered.
  const QStringList& items() const noexcept { return items_; }

  /// A property of the first item; invalid when it has none.
  QVariant itemProperty(const QString& name) const;
  /// A click on the icon of the first item.
  void clickIcon() const;

  /// The whole menu of the first item.
  MenuItemLayout layout() const;
  /// The menu's labels from top to bottom, "-" for a divider, with "[x] " or "[ ] " before a switch and "(...)" around
  /// what cannot be chosen.
  QStringList lines() const;
  /// A click on the entry with this label.
  void choose(const QString& label) const;
  /// Calls a method of the menu.
  QDBusMessage callMenu(const QString& method, const QVariantList& arguments) const;

  /// How often the menu said that it has another shape, or that some of its lines read otherwise.
  int layoutUpdates() const noexcept { return layoutUpdates_; }
  int propertyUpdates() const noexcept { return propertyUpdates_; }

 public Q_SLOTS:
  void RegisterStatusNotifierItem(const QString& service);

 Q_SIGNALS:
  void StatusNotifierHostRegistered();
  void StatusNotifierHostUnregistered();

 private Q_SLOTS:
  void countLayoutUpdate() { ++layoutUpdates_; }
  void countPropertyUpdate() { ++propertyUpdates_; }

 private:
  QDBusMessage callItem(const QString& path, const QString& interface, const QString& method,
                        const QVariantList& arguments) const;

  QDBusConnection bus_;
  bool hasHost_;
  QStringList items_;
  int layoutUpdates_ = 0;
  int propertyUpdates_ = 0;
};

}  // namespace brindlemux::test
