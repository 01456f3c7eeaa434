pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The first line of a canvas column: its title, and what can be done there at the right.
Item {
    id: root

    required property string title

    default property alias controls: controlRow.data

    width: parent?.width ?? 0
    implicitHeight: 26

    Text {
        anchors.left: parent.left
        anchors.leftMargin: 2
        anchors.verticalCenter: parent.verticalCenter
        text: root.title
        color: Theme.textPrimary
        font.pixelSize: Theme.title3Size
        font.weight: Font.DemiBold
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Row {
        id: controlRow

        anchors.right: parent.right
        anchors.verticalCenter: parent.verticalCenter
    }
}
