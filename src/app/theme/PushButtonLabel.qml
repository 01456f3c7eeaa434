pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// What stands on a push button: words, and a symbol before them when there is one.
Item {
    id: root

    required property string symbol
    required property string text
    required property color color

    implicitWidth: row.implicitWidth
    implicitHeight: row.implicitHeight

    Row {
        id: row

        anchors.centerIn: parent
        spacing: 7

        Icon {
            anchors.verticalCenter: parent.verticalCenter
            visible: root.symbol !== ""
            name: root.symbol
            size: 13
            color: root.color
        }

        Text {
            anchors.verticalCenter: parent.verticalCenter
            text: root.text
            textFormat: Text.PlainText
            font.pixelSize: Theme.bodySize
            font.weight: Font.Medium
            color: root.color
        }
    }
}
