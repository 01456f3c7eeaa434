pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Whose settings these are, and the way out of them.
Item {
    id: root

    required property string deviceName

    signal close

    implicitHeight: Math.max(texts.implicitHeight, closeButton.implicitHeight) + 8

    Icon {
        id: symbol

        anchors.left: parent.left
        anchors.verticalCenter: parent.verticalCenter
        name: "slider.horizontal.3"
        size: 24
        color: Theme.accent
    }

    Column {
        id: texts

        anchors.left: symbol.right
        anchors.right: closeButton.left
        anchors.leftMargin: 12
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        NameText {
            objectName: "settings.deviceName"
            width: parent.width
            text: root.deviceName
            font.pixelSize: Theme.title3Size
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
        }

        Text {
            text: "Settings"
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
        }
    }

    IconButton {
        id: closeButton

        objectName: "settings.close"
        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
        symbol: "xmark.circle.fill"
        symbolSize: 18
        help: "Close"
        onClicked: root.close()
    }
}
