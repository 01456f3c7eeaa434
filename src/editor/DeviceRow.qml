pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// One virtual device of the sidebar. The model's roles fill the first properties.
Rectangle {
    id: root

    required property int index
    required property string uid
    required property string name
    required property int channels
    required property AppState appState

    readonly property bool selected: appState.selectedDeviceUID === uid

    signal chosen

    objectName: "device." + uid
    implicitHeight: 50
    radius: 8
    color: selected ? Theme.headerBand : hover.hovered ? Theme.surface : "transparent"
    border.width: selected ? 1 : 0
    border.color: ListView.isCurrentItem && ListView.view.activeFocus ? Theme.accent : Theme.border

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: caption.text
    Accessible.selectable: true
    Accessible.selected: selected
    Accessible.onPressAction: chosen()

    VirtualDeviceRecord {
        id: device

        appState: root.appState
        uid: root.uid
    }

    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }

    TapHandler {
        onTapped: root.chosen()
    }

    Icon {
        id: symbol

        anchors.left: parent.left
        anchors.leftMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        name: "waveform.circle.fill"
        size: 24
        color: device.enabled ? Theme.accent : Theme.textSecondary
        opacity: root.selected ? 1 : 0.75
    }

    // Wide enough for the names that new devices have: they differ only in the number at their end.
    Column {
        anchors.left: symbol.right
        anchors.right: enabledSwitch.left
        anchors.leftMargin: 8
        anchors.rightMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        NameText {
            objectName: root.objectName + ".name"
            width: parent.width
            text: root.name
            font.weight: Font.Medium
        }

        Text {
            id: caption

            objectName: root.objectName + ".caption"
            width: parent.width
            text: root.channels + " ch · " + device.sourceCount + " sources"
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
            elide: Text.ElideRight
        }
    }

    OnOffSwitch {
        id: enabledSwitch

        objectName: root.objectName + ".enabled"
        anchors.right: parent.right
        anchors.rightMargin: 8
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 28
        implicitHeight: 17
        on: device.enabled
        help: device.enabled ? "Disable device" : "Enable device"
        onSwitched: on => device.setEnabled(on)
    }
}
