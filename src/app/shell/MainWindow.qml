pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Controller
import Brindlemux.Shell
import Brindlemux.Theme

/// The program's window.
Window {
    id: root

    required property AppState appState
    required property UserDefaults defaults

    width: 1440
    height: 900
    minimumWidth: 1220
    minimumHeight: 600
    visible: true
    title: "Brindlemux"
    color: Theme.base
    onClosing: content.showOnboarding = false

    ContentView {
        id: content

        anchors.fill: parent
        appState: root.appState
        defaults: root.defaults
    }
}
