pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// One channel of a card: its label, its level, and a port on the side or sides where sound enters or leaves.
Item {
    id: root

    required property string label
    /// Nothing for a channel without a meter.
    property var level: undefined

    property alias inputPort: inputSlot.data
    property alias outputPort: outputSlot.data

    width: parent?.width ?? 0
    implicitHeight: 24

    Item {
        id: inputSlot

        width: childrenRect.width
        height: childrenRect.height
        anchors.verticalCenter: parent.verticalCenter
    }

    Text {
        id: labelText

        objectName: root.objectName + ".label"
        anchors.left: inputSlot.right
        anchors.leftMargin: inputSlot.width > 0 ? 10 : 0
        anchors.verticalCenter: parent.verticalCenter
        width: 36
        text: root.label
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
    }

    MeterBar {
        objectName: root.objectName + ".meter"
        anchors.left: labelText.right
        anchors.right: outputSlot.left
        anchors.leftMargin: 6
        anchors.rightMargin: 12
        anchors.verticalCenter: parent.verticalCenter
        visible: root.level !== undefined
        level: root.level ?? 0
        Accessible.name: "Level of channel " + root.label
    }

    Item {
        id: outputSlot

        anchors.right: parent.right
        width: childrenRect.width
        height: childrenRect.height
        anchors.verticalCenter: parent.verticalCenter
    }
}
