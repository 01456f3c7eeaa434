pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// What there is to say about one virtual device.
Item {
    id: root

    required property VirtualDeviceRecord device

    Rectangle {
        id: band

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: texts.implicitHeight + 36
        color: Theme.panel

        Column {
            id: texts

            anchors.left: parent.left
            anchors.right: parent.right
            anchors.leftMargin: 26
            anchors.rightMargin: 26
            anchors.verticalCenter: parent.verticalCenter
            spacing: 4

            Text {
                objectName: "detail.name"
                width: parent.width
                text: root.device.name
                textFormat: Text.PlainText
                color: Theme.textPrimary
                font.pixelSize: Theme.titleSize
                font.weight: Font.Bold
                elide: Text.ElideRight
            }

            Text {
                objectName: "detail.channels"
                text: root.device.channels + " channels"
                color: Theme.textSecondary
                font.pixelSize: Theme.bodySize
            }

            Text {
                objectName: "detail.uid"
                width: parent.width
                text: root.device.uid
                textFormat: Text.PlainText
                color: Theme.textSecondary
                opacity: 0.75
                font.family: Theme.monospaceFamily
                font.pixelSize: Theme.captionSize
                elide: Text.ElideMiddle
            }
        }
    }

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: band.bottom
        height: 1
        color: Theme.border
    }
}
