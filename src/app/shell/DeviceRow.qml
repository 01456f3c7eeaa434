pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// One virtual device of the sidebar. The model's roles fill the first three properties.
Rectangle {
    id: root

    required property string uid
    required property string name
    required property int channels
    required property bool selected

    signal chosen

    objectName: "device." + uid
    implicitHeight: texts.implicitHeight + 18
    radius: 8
    color: selected ? Theme.headerBand : hover.hovered ? Theme.surface : "transparent"
    border.width: activeFocus ? 2 : selected ? 1 : 0
    border.color: activeFocus ? Theme.accent : Theme.border
    activeFocusOnTab: true

    Accessible.role: Accessible.ListItem
    Accessible.name: name
    Accessible.description: channelText.text
    Accessible.selected: selected
    Accessible.onPressAction: chosen()
    Keys.onSpacePressed: chosen()
    Keys.onReturnPressed: chosen()

    HoverHandler {
        id: hover
    }

    TapHandler {
        onTapped: root.chosen()
    }

    Icon {
        id: symbol

        anchors.left: parent.left
        anchors.leftMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        name: "waveform"
        size: 26
        opacity: root.selected ? 1 : 0.65
    }

    Column {
        id: texts

        anchors.left: symbol.right
        anchors.right: parent.right
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.verticalCenter: parent.verticalCenter
        spacing: 2

        Text {
            objectName: root.objectName + ".name"
            width: parent.width
            text: root.name
            textFormat: Text.PlainText
            color: Theme.textPrimary
            font.pixelSize: Theme.bodySize
            font.weight: Font.Medium
            elide: Text.ElideRight
        }

        Text {
            id: channelText

            objectName: root.objectName + ".channels"
            width: parent.width
            text: root.channels + " channels"
            color: Theme.textSecondary
            font.pixelSize: Theme.captionSize
        }

        Text {
            objectName: root.objectName + ".uid"
            width: parent.width
            text: root.uid
            textFormat: Text.PlainText
            color: Theme.textSecondary
            opacity: 0.75
            font.pixelSize: 9
            elide: Text.ElideMiddle
        }
    }
}
