pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Controller
import Brindlemux.Shell
import Brindlemux.Theme

/// The program's window. It has no title bar: what it holds reaches to its top, beside the buttons that a title bar has.
Window {
    id: root

    required property AppState appState
    required property UserDefaults defaults

    width: 1440
    height: 900
    minimumWidth: 1220
    minimumHeight: 600
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    title: "Brindlemux"
    color: Theme.base
    onClosing: content.showOnboarding = false

    ContentView {
        id: content

        anchors.fill: parent
        appState: root.appState
        defaults: root.defaults
        controlsWidth: controls.width + 2 * controls.anchors.rightMargin
        onTopDoubleClicked: controls.toggleMaximized()
    }

    // Above the sheets too: Qt puts their overlay at 1000001.
    WindowControls {
        id: controls

        anchors.right: parent.right
        anchors.rightMargin: 14
        y: Math.round((content.topHeight - height) / 2)
        z: 2000000
        window: root
    }

    WindowEdges {
        anchors.fill: parent
        z: 2000001
        visible: !controls.isMaximized
    }
}
