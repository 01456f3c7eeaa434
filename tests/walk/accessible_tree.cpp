// What a screen reader has of the programs of a session: reads what they show over the bus of assistive technology.
//
//   accessible_tree enable           tells the programs that somebody reads along
//   accessible_tree list             prints a line for each thing that shows: its role, its name, its description and
//                                    its states, between tabs
//   accessible_tree press ROLE NAME  does to it what a click would; ends with 1 where there is no such thing
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusReply>
#include <QDBusVariant>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <utility>
#include <vector>

namespace {

const QString launcher = QStringLiteral("org.a11y.Bus");
const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString action = QStringLiteral("org.a11y.atspi.Action");
const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");

/// By their bit in the first word of a set of states.
constexpr std::pair<unsigned, const char*> shownStates[] = {
    {4, "checked"}, {12, "focused"}, {16, "modal"}, {23, "selected"}};
constexpr unsigned enabledState = 8;
constexpr unsigned showingState = 25;

bool has(uint states, unsigned bit) { return (states >> bit & 1U) != 0; }

struct Node {
  QString service;
  QString path;
};

class Tree {
 public:
  explicit Tree(const QDBusConnection& session) : bus_(connectTo(addressOn(session))) {}

  /// Calls `visit` for each thing that shows, those inside it after it, until it returns true; whether it did.
  bool find(const std::function<bool(const Node&)>& visit) const {
    for (const Node& program : children({QStringLiteral("org.a11y.atspi.Registry"), rootPath()}))
      for (const Node& window : children(program))
        if (findBelow(window, visit)) return true;
    return false;
  }

  QString role(const Node& node) const { return text(call(node, accessible, QStringLiteral("GetRoleName"))); }
  QString property(const Node& node, const QString& name) const {
    const QDBusMessage reply = call(node, properties, QStringLiteral("Get"), {accessible, name});
    const QVariant value = reply.arguments().value(0);
    return value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant().toString() : QString();
  }
  uint states(const Node& node) const {
    const QDBusReply<QList<uint>> reply = call(node, accessible, QStringLiteral("GetState"));
    return reply.isValid() && !reply.value().isEmpty() ? reply.value().constFirst() : 0;
  }
  bool press(const Node& node) const {
    const QDBusReply<bool> reply = call(node, action, QStringLiteral("DoAction"), {0});
    return reply.isValid() && reply.value();
  }

 private:
  static QString rootPath() { return QStringLiteral("/org/a11y/atspi/accessible/root"); }
  static QString text(const QDBusMessage& reply) { return reply.arguments().value(0).toString(); }

  static QString addressOn(const QDBusConnection& session) {
    return text(session.call(QDBusMessage::createMethodCall(launcher, QStringLiteral("/org/a11y/bus"), launcher,
                                                            QStringLiteral("GetAddress"))));
  }
  static QDBusConnection connectTo(const QString& address) {
    QDBusConnection bus = QDBusConnection::connectToBus(address, QStringLiteral("accessibility"));
    if (!bus.isConnected()) throw std::runtime_error("there is no bus of assistive technology");
    return bus;
  }

  QDBusMessage call(const Node& node, const QString& interface, const QString& method,
                    const QVariantList& arguments = {}) const {
    QDBusMessage message = QDBusMessage::createMethodCall(node.service, node.path, interface, method);
    message.setArguments(arguments);
    return bus_.call(message);
  }

  /// None where the thing has gone in the meantime.
  std::vector<Node> children(const Node& node) const {
    const QDBusMessage reply = call(node, accessible, QStringLiteral("GetChildren"));
    std::vector<Node> nodes;
    const QVariant list = reply.arguments().value(0);
    if (!list.canConvert<QDBusArgument>()) return nodes;
    const auto argument = list.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
      QString service;
      QDBusObjectPath path;
      argument.beginStructure();
      argument >> service >> path;
      argument.endStructure();
      nodes.push_back({service, path.path()});
    }
    argument.endArray();
    return nodes;
  }

  bool findBelow(const Node& node, const std::function<bool(const Node&)>& visit) const {
    if (!has(states(node), showingState)) return false;
    if (visit(node)) return true;
    for (const Node& child : children(node))
      if (findBelow(child, visit)) return true;
    return false;
  }

  QDBusConnection bus_;
};

void print(const Tree& tree, const Node& node) {
  QStringList states;
  const uint set = tree.states(node);
  for (const auto& [bit, name] : shownStates) {
    if (has(set, bit)) states.append(QString::fromLatin1(name));
  }
  if (!has(set, enabledState)) states.append(QStringLiteral("disabled"));
  const QStringList line{tree.role(node), tree.property(node, QStringLiteral("Name")),
                         tree.property(node, QStringLiteral("Description")), states.join(u' ')};
  std::printf("%s\n", qPrintable(line.join(u'\t')));
}

int enable(const QDBusConnection& session) {
  QDBusMessage message =
      QDBusMessage::createMethodCall(launcher, QStringLiteral("/org/a11y/bus"), properties, QStringLiteral("Set"));
  message << QStringLiteral("org.a11y.Status") << QStringLiteral("IsEnabled")
          << QVariant::fromValue(QDBusVariant(true));
  return session.call(message).type() == QDBusMessage::ReplyMessage ? 0 : 1;
}

int run(const QStringList& arguments) {
  const QDBusConnection session = QDBusConnection::sessionBus();
  const QString what = arguments.value(1);
  if (what == QLatin1String("enable")) return enable(session);
  const Tree tree(session);
  if (what == QLatin1String("list")) {
    tree.find([&](const Node& node) {
      print(tree, node);
      return false;
    });
    return 0;
  }
  if (what != QLatin1String("press") || arguments.size() != 4) return 2;
  const bool isPressed = tree.find([&](const Node& node) {
    return tree.role(node) == arguments[2] && tree.property(node, QStringLiteral("Name")) == arguments[3] &&
           tree.press(node);
  });
  return isPressed ? 0 : 1;
}

}  // namespace

int main(int argc, char* argv[]) {
  const QCoreApplication application(argc, argv);
  try {
    return run(QCoreApplication::arguments());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "accessible_tree: %s\n", error.what());
    return 1;
  }
}
