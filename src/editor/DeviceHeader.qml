pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// What stands above a device's graph: its name, its channels, its switch, and what can be done to it.
Rectangle {
    id: root

    required property VirtualDeviceRecord device
    required property bool hasSelectedWire
    /// What of the right end is not the header's own.
    property real controlsWidth: 0
    readonly property alias isEditingName: deviceName.isEditingName

    signal renamed(name: string)
    signal settingsAsked
    signal wireDeleted

    implicitHeight: 72
    color: Theme.panel

    Column {
        anchors.left: parent.left
        anchors.right: controls.left
        anchors.leftMargin: 26
        anchors.rightMargin: 20
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        DeviceName {
            id: deviceName

            width: parent.width
            name: root.device.name
            onRenamed: name => root.renamed(name)
        }

        Text {
            objectName: "detail.channels"
            text: root.device.channels + " channels"
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
        }
    }

    Row {
        id: controls

        anchors.right: parent.right
        anchors.rightMargin: root.controlsWidth > 0 ? root.controlsWidth + 14 : 22
        anchors.verticalCenter: parent.verticalCenter
        spacing: 12

        PushButton {
            objectName: "detail.disconnect"
            anchors.verticalCenter: parent.verticalCenter
            symbol: "scissors"
            text: "Disconnect Wire"
            help: "Disconnect the selected wire (or double-click the wire)"
            enabled: root.hasSelectedWire
            onClicked: root.wireDeleted()
        }

        IconButton {
            objectName: "detail.settings"
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 30
            implicitHeight: 30
            symbol: "slider.horizontal.3"
            symbolSize: 17
            help: "Device settings"
            onClicked: root.settingsAsked()
        }

        OnOffSwitch {
            objectName: "detail.enabled"
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 38
            implicitHeight: 22
            on: root.device.enabled
            help: root.device.enabled ? "Disable device" : "Enable device"
            onSwitched: on => root.device.setEnabled(on)
        }
    }

    Rectangle {
        visible: root.controlsWidth > 0
        anchors.right: parent.right
        anchors.rightMargin: root.controlsWidth
        anchors.verticalCenter: parent.verticalCenter
        width: 1
        height: 24
        color: Theme.border
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.border
    }
}
