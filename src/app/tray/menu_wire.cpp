#include "app/tray/menu_wire.h"

#include <QDBusMetaType>

namespace brindlemux {

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemProperties& item) {
  argument.beginStructure();
  argument << item.id << item.properties;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemProperties& item) {
  argument.beginStructure();
  argument >> item.id >> item.properties;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemPropertyNames& item) {
  argument.beginStructure();
  argument << item.id << item.names;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemPropertyNames& item) {
  argument.beginStructure();
  argument >> item.id >> item.names;
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemLayout& item) {
  argument.beginStructure();
  argument << item.id << item.properties;
  argument.beginArray(QMetaType::fromType<QDBusVariant>());
  // Each in a variant, since a layout of D-Bus cannot hold itself.
  for (const MenuItemLayout& child : item.children) argument << QDBusVariant(QVariant::fromValue(child));
  argument.endArray();
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemLayout& item) {
  argument.beginStructure();
  argument >> item.id >> item.properties;
  item.children.clear();
  argument.beginArray();
  while (!argument.atEnd()) {
    QDBusVariant child;
    argument >> child;
    item.children.append(qdbus_cast<MenuItemLayout>(child.variant()));
  }
  argument.endArray();
  argument.endStructure();
  return argument;
}

QDBusArgument& operator<<(QDBusArgument& argument, const MenuItemEvent& event) {
  argument.beginStructure();
  argument << event.id << event.name << event.data << event.timestamp;
  argument.endStructure();
  return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, MenuItemEvent& event) {
  argument.beginStructure();
  argument >> event.id >> event.name >> event.data >> event.timestamp;
  argument.endStructure();
  return argument;
}

void registerMenuTypes() {
  qDBusRegisterMetaType<MenuItemProperties>();
  qDBusRegisterMetaType<QList<MenuItemProperties>>();
  qDBusRegisterMetaType<MenuItemPropertyNames>();
  qDBusRegisterMetaType<QList<MenuItemPropertyNames>>();
  qDBusRegisterMetaType<MenuItemLayout>();
  qDBusRegisterMetaType<MenuItemEvent>();
  qDBusRegisterMetaType<QList<MenuItemEvent>>();
  qDBusRegisterMetaType<QList<int>>();
}

}  // namespace brindlemux
