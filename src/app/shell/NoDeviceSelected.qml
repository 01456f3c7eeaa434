pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Stands in place of a device's detail while none is selected.
Item {
    id: root

    objectName: "noDeviceSelected"

    Column {
        anchors.centerIn: parent
        spacing: 14

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "waveform"
            size: 56
            opacity: 0.65
        }

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Select or create a virtual device"
            color: Theme.textSecondary
            font.pixelSize: Theme.bodySize
        }
    }
}
