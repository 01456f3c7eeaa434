pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// A remark with a symbol in front of it.
Item {
    id: root

    required property string icon
    required property string text
    property color iconColor: Theme.textSecondary

    implicitHeight: label.implicitHeight

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Icon {
        id: symbol

        anchors.left: parent.left
        anchors.top: parent.top
        name: root.icon
        size: 14
        color: root.iconColor
    }

    Text {
        id: label

        anchors.left: symbol.right
        anchors.right: parent.right
        anchors.leftMargin: 8
        text: root.text
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        wrapMode: Text.Wrap
    }
}
