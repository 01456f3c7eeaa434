#include "editor/node_menu_models.h"

#include "editor/node_menus.h"
#include "editor/node_texts.h"

namespace brindlemux {
namespace {

using Row = KeyedListModel::Row;

QList<QByteArray> menuRoles() { return {"key", "section", "label", "symbol", "kind", "identifier"}; }

Row entry(const QString& section, const QString& label, const QString& symbol, const QString& kind,
          const std::string& identifier) {
  const QString id = QString::fromStdString(identifier);
  return {kind + u' ' + id, section, label, symbol, kind, id};
}

/// Stands in a section that has nothing to offer.
Row placeholder(const QString& section, const QString& label) {
  return entry(section, label, QString(), QString(), section.toStdString());
}

void appendDevices(QList<Row>& rows, const std::vector<AudioDeviceInfo>& devices, const QString& section,
                   const QString& symbol, const QString& kind, const QString& none) {
  for (const AudioDeviceInfo& device : devices)
    rows.append(entry(section, QString::fromStdString(device.name), symbol, kind, device.uid));
  if (devices.empty()) rows.append(placeholder(section, none));
}

QList<Row> sourceEntries(const AppState& state) {
  QList<Row> rows;
  const QString applications = QStringLiteral("Applications");
  const auto processes = dedupedProcesses(state.processes());
  for (const AudioProcessInfo& process : processes) {
    const QString symbol = QString::fromStdString(sourceSymbol(AppSource{}));
    rows.append(entry(applications, QString::fromStdString(process.name), symbol, QStringLiteral("app"),
                      process.bundleID.value_or("")));
  }
  if (processes.empty()) rows.append(placeholder(applications, QStringLiteral("No applications")));
  appendDevices(rows, inputDevices(state.audioDevices(), state.virtualDeviceUIDs()), QStringLiteral("Input Devices"),
                QString::fromStdString(sourceSymbol(MicSource{})), QStringLiteral("mic"),
                QStringLiteral("No input devices"));
  rows.append(entry(QStringLiteral("Special"), QString::fromStdString(sourceName(SystemAudioSource{})),
                    QString::fromStdString(sourceSymbol(SystemAudioSource{})), QStringLiteral("systemAudio"), ""));
  return rows;
}

QList<Row> monitorEntries(const AppState& state) {
  QList<Row> rows;
  appendDevices(rows, outputDevices(state.audioDevices(), state.virtualDeviceUIDs()), QString(),
                QStringLiteral("hifispeaker.fill"), QStringLiteral("monitor"), QStringLiteral("No output devices"));
  return rows;
}

}  // namespace

NodeMenuModels::NodeMenuModels(QObject* parent) : QObject(parent), sources_(menuRoles()), monitors_(menuRoles()) {}

void NodeMenuModels::setAppState(AppState* appState) {
  if (appState_ == appState) return;
  if (appState_) disconnect(appState_, nullptr, this, nullptr);
  appState_ = appState;
  if (appState_) {
    for (const auto signal :
         {&AppState::virtualDevicesChanged, &AppState::audioDevicesChanged, &AppState::processesChanged})
      connect(appState_, signal, this, &NodeMenuModels::refresh);
  }
  Q_EMIT appStateChanged();
  refresh();
}

void NodeMenuModels::refresh() {
  sources_.assign(appState_ ? sourceEntries(*appState_) : QList<Row>());
  monitors_.assign(appState_ ? monitorEntries(*appState_) : QList<Row>());
}

}  // namespace brindlemux
