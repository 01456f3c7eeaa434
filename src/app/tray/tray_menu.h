#pragma once

#include <QDBusContext>
#include <QObject>
#include <functional>
#include <vector>

#include "app/tray/menu_entry.h"
#include "app/tray/menu_wire.h"

namespace brindlemux {

/// The menu behind the tray icon, as the desktop reads it over the bus: the object of the interface
/// com.canonical.dbusmenu. The desktop draws it. Slots and properties have the names that the interface gives them.
///
/// Threads: the main thread.
class TrayMenu final : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
  Q_PROPERTY(uint Version READ version CONSTANT)
  Q_PROPERTY(QString Status READ status CONSTANT)
  Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
  Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

 public:
  explicit TrayMenu(QObject* parent = nullptr);

  /// Replaces the menu. The desktop hears of what differs and of nothing else, so that an open menu stays open.
  void setEntries(std::vector<MenuEntry> entries);
  const std::vector<MenuEntry>& entries() const noexcept { return entries_; }

  /// Called with the id of the entry that the person has chosen. Not a signal, as those go out to the bus.
  std::function<void(int id)> onChosen;

  uint version() const { return 3; }
  QString status() const { return QStringLiteral("normal"); }
  QString textDirection() const { return QStringLiteral("ltr"); }
  QStringList iconThemePath() const { return {}; }

 public Q_SLOTS:
  uint GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames,
                 brindlemux::MenuItemLayout& layout);
  QList<brindlemux::MenuItemProperties> GetGroupProperties(const QList<int>& ids,
                                                           const QStringList& propertyNames) const;
  QDBusVariant GetProperty(int id, const QString& name);
  void Event(int id, const QString& eventId, const QDBusVariant& data, uint timestamp);
  QList<int> EventGroup(const QList<brindlemux::MenuItemEvent>& events);
  bool AboutToShow(int id);
  QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) const;

 Q_SIGNALS:
  void LayoutUpdated(uint revision, int parent);
  void ItemsPropertiesUpdated(const QList<brindlemux::MenuItemProperties>& updatedProps,
                              const QList<brindlemux::MenuItemPropertyNames>& removedProps);
  void ItemActivationRequested(int id, uint timestamp);

 private:
  const MenuEntry* find(int id) const;
  void refuse(int id);
  bool take(int id, const QString& event);
  void choose(int id);

  std::vector<MenuEntry> entries_;
  uint revision_ = 1;
};

}  // namespace brindlemux
