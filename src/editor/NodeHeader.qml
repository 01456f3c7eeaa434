pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The first lines of a card: a symbol, a name, what it does, and the controls at the right.
Item {
    id: root

    required property string symbol
    required property string name
    property string subtitle: ""
    /// Whether sound flows through the node, or could.
    property bool lit: true

    default property alias controls: controlRow.data

    width: parent?.width ?? 0
    implicitHeight: 22 + (subtitleText.visible ? subtitleText.implicitHeight + 2 : 0)

    Icon {
        id: symbolIcon

        y: Math.round((22 - height) / 2)
        name: root.symbol
        size: 17
        color: root.lit ? Theme.accent : Theme.textSecondary
    }

    NameText {
        objectName: root.objectName + ".name"
        anchors.left: symbolIcon.right
        anchors.leftMargin: 8
        anchors.right: controlRow.left
        anchors.rightMargin: 8
        height: 22
        verticalAlignment: Text.AlignVCenter
        text: root.name
        font.weight: Font.Medium
    }

    Text {
        id: subtitleText

        objectName: root.objectName + ".subtitle"
        y: 24
        anchors.left: symbolIcon.right
        anchors.leftMargin: 8
        anchors.right: parent.right
        visible: text !== ""
        text: root.subtitle
        textFormat: Text.PlainText
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        // The longest of them fits, whatever the letters of the desktop are like.
        fontSizeMode: Text.HorizontalFit
        minimumPixelSize: 8
        elide: Text.ElideRight
    }

    Row {
        id: controlRow

        anchors.right: parent.right
        height: 22
        spacing: 5
    }
}
