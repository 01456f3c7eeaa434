pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Stands in place of a device while none is selected.
Item {
    id: root

    signal createDevice

    objectName: "emptyState"

    Column {
        anchors.centerIn: parent
        spacing: 14

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "waveform.circle"
            size: 56
            color: Theme.textSecondary
        }

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "emptyState.text"
            text: "Select or create a virtual device"
            color: Theme.textSecondary
            font.pixelSize: Theme.bodySize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        PushButton {
            objectName: "emptyState.create"
            anchors.horizontalCenter: parent.horizontalCenter
            text: "New Virtual Device"
            onClicked: root.createDevice()
        }
    }
}
