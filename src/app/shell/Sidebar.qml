pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// The virtual devices, one row each; a click selects.
Rectangle {
    id: root

    required property AppState appState

    color: Theme.panel

    Text {
        id: header

        anchors.left: parent.left
        anchors.top: parent.top
        anchors.leftMargin: 20
        anchors.topMargin: 22
        text: "VIRTUAL DEVICES"
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        font.weight: Font.DemiBold
        font.letterSpacing: 0.8
    }

    Text {
        objectName: "sidebar.empty"
        anchors.left: header.left
        anchors.top: header.bottom
        anchors.topMargin: 14
        visible: list.count === 0
        text: "No virtual devices"
        color: Theme.textSecondary
        font.pixelSize: Theme.bodySize
    }

    ListView {
        id: list

        objectName: "sidebar.devices"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        anchors.topMargin: 12
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.bottomMargin: 10
        clip: true
        spacing: 4
        boundsBehavior: Flickable.StopAtBounds
        model: root.appState.virtualDevices

        Accessible.role: Accessible.List
        Accessible.name: "Virtual devices"

        delegate: DeviceRow {
            width: ListView.view.width
            selected: root.appState.selectedDeviceUID === uid
            onChosen: root.appState.selectedDeviceUID = uid
        }
    }
}
