#include "app/tray/tray_menu.h"

#include <algorithm>
#include <utility>

namespace brindlemux {
namespace {

/// The item that holds the others.
constexpr int rootId = 0;

QVariantMap rootProperties() { return {{QStringLiteral("children-display"), QStringLiteral("submenu")}}; }

/// A label as the interface wants it, where one underscore marks a key and two are a plain one.
QString escaped(QString label) { return label.replace(QLatin1Char('_'), QLatin1String("__")); }

QVariantMap propertiesOf(const MenuEntry& entry) {
  if (entry.kind == MenuEntry::Kind::divider) return {{QStringLiteral("type"), QStringLiteral("separator")}};
  QVariantMap properties{{QStringLiteral("label"), escaped(entry.label)}};
  if (entry.kind == MenuEntry::Kind::text) properties.insert(QStringLiteral("enabled"), false);
  if (entry.kind == MenuEntry::Kind::toggle) {
    properties.insert(QStringLiteral("toggle-type"), QStringLiteral("checkmark"));
    properties.insert(QStringLiteral("toggle-state"), entry.isOn ? 1 : 0);
  }
  return properties;
}

/// Those of the properties that were asked for; no names ask for all.
QVariantMap selected(QVariantMap properties, const QStringList& names) {
  if (names.isEmpty()) return properties;
  for (const QString& key : properties.keys()) {
    if (!names.contains(key)) properties.remove(key);
  }
  return properties;
}

bool haveSameShape(const std::vector<MenuEntry>& one, const std::vector<MenuEntry>& other) {
  return std::ranges::equal(one, other, [](const MenuEntry& left, const MenuEntry& right) {
    return left.id == right.id && left.kind == right.kind;
  });
}

}  // namespace

TrayMenu::TrayMenu(QObject* parent) : QObject(parent) { registerMenuTypes(); }

void TrayMenu::setEntries(std::vector<MenuEntry> entries) {
  const std::vector<MenuEntry> former = std::exchange(entries_, std::move(entries));
  if (former == entries_) return;
  ++revision_;
  if (!haveSameShape(former, entries_)) {
    Q_EMIT LayoutUpdated(revision_, rootId);
    return;
  }
  QList<MenuItemProperties> changed;
  for (std::size_t index = 0; index < entries_.size(); ++index) {
    if (entries_[index] != former[index]) changed.append({entries_[index].id, propertiesOf(entries_[index])});
  }
  Q_EMIT ItemsPropertiesUpdated(changed, {});
}

const MenuEntry* TrayMenu::find(int id) const {
  const auto found = std::ranges::find(entries_, id, &MenuEntry::id);
  return found != entries_.end() ? &*found : nullptr;
}

void TrayMenu::refuse(int id) {
  // The slots are plain functions too, called without anyone to answer.
  if (calledFromDBus()) sendErrorReply(QDBusError::InvalidArgs, QStringLiteral("there is no item %1").arg(id));
}

uint TrayMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames, MenuItemLayout& layout) {
  if (parentId != rootId) {
    if (const MenuEntry* entry = find(parentId)) {
      layout = {entry->id, selected(propertiesOf(*entry), propertyNames), {}};
    } else {
      refuse(parentId);
    }
    return revision_;
  }
  layout = {rootId, selected(rootProperties(), propertyNames), {}};
  // Only 0 leaves out what is below; a negative depth means everything.
  if (recursionDepth == 0) return revision_;
  for (const MenuEntry& entry : entries_) {
    layout.children.append({entry.id, selected(propertiesOf(entry), propertyNames), {}});
  }
  return revision_;
}

QList<MenuItemProperties> TrayMenu::GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) const {
  QList<MenuItemProperties> result;
  if (ids.isEmpty() || ids.contains(rootId)) result.append({rootId, selected(rootProperties(), propertyNames)});
  for (const MenuEntry& entry : entries_) {
    if (ids.isEmpty() || ids.contains(entry.id)) {
      result.append({entry.id, selected(propertiesOf(entry), propertyNames)});
    }
  }
  return result;
}

QDBusVariant TrayMenu::GetProperty(int id, const QString& name) {
  const MenuEntry* entry = find(id);
  const QVariantMap properties = id == rootId       ? rootProperties()
                                 : entry != nullptr ? propertiesOf(*entry)
                                                    : QVariantMap();
  if (!properties.contains(name)) refuse(id);
  return QDBusVariant(properties.value(name, QString()));
}

bool TrayMenu::take(int id, const QString& event) {
  if (id == rootId) return true;
  const MenuEntry* entry = find(id);
  if (entry == nullptr) return false;
  // Carried out once the caller has its answer, since it may end the program.
  if (event == QLatin1String("clicked")) {
    QMetaObject::invokeMethod(
        this, [this, id] { choose(id); }, Qt::QueuedConnection);
  }
  return true;
}

void TrayMenu::choose(int id) {
  const MenuEntry* entry = find(id);
  if (entry != nullptr && entry->canBeChosen() && onChosen) onChosen(id);
}

void TrayMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
  if (!take(id, eventId)) refuse(id);
}

QList<int> TrayMenu::EventGroup(const QList<MenuItemEvent>& events) {
  QList<int> unknown;
  for (const MenuItemEvent& event : events) {
    if (!take(event.id, event.name)) unknown.append(event.id);
  }
  if (!events.isEmpty() && unknown.size() == events.size()) refuse(unknown.constFirst());
  return unknown;
}

// The menu is always up to date, so that nothing needs an update before it is shown.
bool TrayMenu::AboutToShow(int id) {
  if (id != rootId && find(id) == nullptr) refuse(id);
  return false;
}

QList<int> TrayMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) const {
  for (const int id : ids) {
    if (id != rootId && find(id) == nullptr) idErrors.append(id);
  }
  return {};
}

}  // namespace brindlemux
