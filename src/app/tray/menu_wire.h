#pragma once

#include <QDBusArgument>
#include <QDBusVariant>
#include <QList>
#include <QMetaType>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

// What the interface com.canonical.dbusmenu sends and takes, in its own layouts.

namespace brindlemux {

/// (ia{sv}): the properties of one item.
struct MenuItemProperties {
  int id = 0;
  QVariantMap properties;
};

/// (ias): names of properties that an item has no longer.
struct MenuItemPropertyNames {
  int id = 0;
  QStringList names;
};

/// (ia{sv}av): an item with those below it.
struct MenuItemLayout {
  int id = 0;
  QVariantMap properties;
  QList<MenuItemLayout> children;
};

/// (isvu): something that happened to an item.
struct MenuItemEvent {
  int id = 0;
  QString name;
  QDBusVariant data;
  uint timestamp = 0;
};

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemProperties& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemProperties& item);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemPropertyNames& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemPropertyNames& item);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemLayout& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemLayout& item);
QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemEvent& event);

/// Makes the layouts known to the bus library; to be called before any of them is sent or taken. Idempotent.
void registerMenuTypes();

}  // namespace brindlemux

Q_DECLARE_METATYPE(brindlemux::MenuItemProperties)
Q_DECLARE_METATYPE(brindlemux::MenuItemPropertyNames)
Q_DECLARE_METATYPE(brindlemux::MenuItemLayout)
Q_DECLARE_METATYPE(brindlemux::MenuItemEvent)
