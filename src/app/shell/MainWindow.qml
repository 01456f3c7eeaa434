pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Controller
import Brindlemux.Editor
import Brindlemux.Theme

/// The program's window: the devices beside what there is to say about the selected one, and the line of trouble below.
Window {
    id: root

    required property AppState appState

    width: 1440
    height: 900
    minimumWidth: 1220
    minimumHeight: 600
    visible: true
    title: "Brindlemux"
    color: Theme.base

    SidebarPanel {
        id: sidebar

        appState: root.appState
        anchors.left: parent.left
        anchors.top: parent.top
        anchors.bottom: errorBar.top
        width: 248
    }

    Rectangle {
        id: divider

        anchors.left: sidebar.right
        anchors.top: parent.top
        anchors.bottom: errorBar.top
        width: 1
        color: Theme.border
    }

    Item {
        anchors.left: divider.right
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.bottom: errorBar.top

        DriverMissing {
            anchors.fill: parent
            visible: !root.appState.driverInstalled
            onCheckAgain: root.appState.reload()
        }

        SelectedDeviceView {
            id: selected

            anchors.fill: parent
            visible: root.appState.driverInstalled && hasDevice
            appState: root.appState
        }

        NoDeviceSelected {
            anchors.fill: parent
            visible: root.appState.driverInstalled && !selected.hasDevice
        }
    }

    ErrorBar {
        id: errorBar

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        message: root.appState.errorMessage
        onDismissed: root.appState.dismissError()
    }
}
