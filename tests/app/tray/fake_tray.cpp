#include "app/tray/fake_tray.h"

#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <stdexcept>

#include "app/event_loop.h"

namespace brindlemux::test {
namespace {

const QString service = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString menuInterface = QStringLiteral("com.canonical.dbusmenu");
const QString itemInterface = QStringLiteral("org.kde.StatusNotifierItem");

}  // namespace

FakeTray::FakeTray(const QDBusConnection& bus, Host host) : bus_(bus), hasHost_(host == Host::present) {
  registerMenuTypes();
  if (!bus_.registerObject(
          QStringLiteral("/StatusNotifierWatcher"), this,
          QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals | QDBusConnection::ExportAllProperties) ||
      !bus_.registerService(service)) {
    throw std::runtime_error("there is a tray already");
  }
}

FakeTray::~FakeTray() {
  bus_.unregisterService(service);
  bus_.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
}

void FakeTray::setHost(Host host) {
  hasHost_ = host == Host::present;
  if (hasHost_) {
    Q_EMIT StatusNotifierHostRegistered();
  } else {
    Q_EMIT StatusNotifierHostUnregistered();
  }
}

void FakeTray::RegisterStatusNotifierItem(const QString& item) {
  items_.append(item);
  bus_.connect(item, QStringLiteral("/MenuBar"), menuInterface, QStringLiteral("LayoutUpdated"), this,
               SLOT(countLayoutUpdate()));
  bus_.connect(item, QStringLiteral("/MenuBar"), menuInterface, QStringLiteral("ItemsPropertiesUpdated"), this,
               SLOT(countPropertyUpdate()));
}

QDBusMessage FakeTray::callItem(const QString& path, const QString& interface, const QString& method,
                                const QVariantList& arguments) const {
  if (items_.isEmpty()) throw std::runtime_error("no item");
  QDBusMessage message = QDBusMessage::createMethodCall(items_.constFirst(), path, interface, method);
  message.setArguments(arguments);
  // Not a blocking call: what answers may live in this thread.
  const QDBusPendingCall call = bus_.asyncCall(message);
  if (!eventually([&call] { return call.isFinished(); })) throw std::runtime_error("no answer");
  return call.reply();
}

QDBusMessage FakeTray::callMenu(const QString& method, const QVariantList& arguments) const {
  return callItem(itemProperty(QStringLiteral("Menu")).value<QDBusObjectPath>().path(), menuInterface, method,
                  arguments);
}

QVariant FakeTray::itemProperty(const QString& name) const {
  const QDBusMessage reply =
      callItem(QStringLiteral("/StatusNotifierItem"), QStringLiteral("org.freedesktop.DBus.Properties"),
               QStringLiteral("Get"), {itemInterface, name});
  if (reply.type() != QDBusMessage::ReplyMessage) return {};
  return reply.arguments().constFirst().value<QDBusVariant>().variant();
}

void FakeTray::clickIcon() const {
  callItem(QStringLiteral("/StatusNotifierItem"), itemInterface, QStringLiteral("Activate"), {10, 20});
}

MenuItemLayout FakeTray::layout() const {
  const QDBusMessage reply = callMenu(QStringLiteral("GetLayout"), {0, -1, QStringList()});
  if (reply.type() != QDBusMessage::ReplyMessage) throw std::runtime_error(reply.errorMessage().toStdString());
  return qdbus_cast<MenuItemLayout>(reply.arguments().at(1));
}

QStringList FakeTray::lines() const {
  QStringList lines;
  for (const MenuItemLayout& item : layout().children) {
    QString line = item.properties.value(QStringLiteral("label")).toString();
    if (item.properties.value(QStringLiteral("type")) == QStringLiteral("separator")) line = QStringLiteral("-");
    if (!item.properties.value(QStringLiteral("enabled"), true).toBool()) line = QStringLiteral("(%1)").arg(line);
    if (item.properties.contains(QStringLiteral("toggle-type"))) {
      const bool isOn = item.properties.value(QStringLiteral("toggle-state")).toInt() == 1;
      line.prepend(isOn ? QStringLiteral("[x] ") : QStringLiteral("[ ] "));
    }
    lines.append(line);
  }
  return lines;
}

void FakeTray::choose(const QString& label) const {
  for (const MenuItemLayout& item : layout().children) {
    if (item.properties.value(QStringLiteral("label")) != label) continue;
    callMenu(QStringLiteral("Event"),
             {item.id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
    return;
  }
  throw std::runtime_error("no entry " + label.toStdString());
}

}  // namespace brindlemux::test
