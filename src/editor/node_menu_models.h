#pragma once

#include <QObject>
#include <QPointer>
#include <QtQmlIntegration/qqmlintegration.h>

#include "app/controller/app_state.h"
#include "app/controller/keyed_list_model.h"

namespace brindlemux {

/// What the "Add a source" and "Add a monitor" menus offer, as rows that change in place while a menu is open: `key`,
/// `section`, `label`, `symbol`, `kind` ("app", "mic", "systemAudio", "monitor"), and `identifier`, the bundle
/// identifier or the device's UID. Where a section would be empty a row without a kind says so; it cannot be chosen.
///
/// Threads: the main thread. Borrows the controller.
class NodeMenuModels : public QObject {
  Q_OBJECT
  QML_ELEMENT
  Q_PROPERTY(brindlemux::AppState* appState READ appState WRITE setAppState NOTIFY appStateChanged REQUIRED FINAL)
  Q_PROPERTY(brindlemux::KeyedListModel* sources READ sources CONSTANT FINAL)
  Q_PROPERTY(brindlemux::KeyedListModel* monitors READ monitors CONSTANT FINAL)

 public:
  explicit NodeMenuModels(QObject* parent = nullptr);

  AppState* appState() const { return appState_; }
  void setAppState(AppState* appState);
  KeyedListModel* sources() noexcept { return &sources_; }
  KeyedListModel* monitors() noexcept { return &monitors_; }

 Q_SIGNALS:
  void appStateChanged();

 private:
  void refresh();

  QPointer<AppState> appState_;
  KeyedListModel sources_;
  KeyedListModel monitors_;
};

}  // namespace brindlemux
