pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// One row of an add menu, below the title of its section when it is the first of one. The model's roles fill the first
/// properties.
Item {
    id: root

    required property int index
    required property string key
    required property string label
    required property string symbol
    required property string kind
    required property string identifier
    required property string section

    readonly property bool choosable: kind !== ""
    readonly property bool current: ListView.isCurrentItem && choosable
    readonly property bool isFirst: section !== "" && ListView.previousSection !== section

    signal chosen

    function choose() {
        if (choosable)
            chosen();
    }

    objectName: "entry." + key
    height: title.height + ground.height

    Accessible.role: choosable ? Accessible.MenuItem : Accessible.StaticText
    Accessible.name: label
    Accessible.focusable: choosable
    Accessible.onPressAction: choose()

    Text {
        id: title

        leftPadding: 10
        topPadding: 8
        bottomPadding: 4
        height: root.isFirst ? implicitHeight : 0
        visible: root.isFirst
        text: root.section
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        font.weight: Font.DemiBold
    }

    Rectangle {
        id: ground

        y: title.height
        width: root.width
        height: 28
        radius: 6
        color: root.current ? Theme.accent : "transparent"

        Icon {
            id: icon

            x: 10
            anchors.verticalCenter: parent.verticalCenter
            name: root.symbol
            size: 14
            color: root.current ? Theme.baseDeep : Theme.textSecondary
        }

        Text {
            objectName: root.objectName + ".label"
            anchors.left: root.symbol === "" ? parent.left : icon.right
            anchors.leftMargin: 10
            anchors.right: parent.right
            anchors.rightMargin: 10
            anchors.verticalCenter: parent.verticalCenter
            text: root.label
            textFormat: Text.PlainText
            horizontalAlignment: Text.AlignLeft
            color: root.current ? Theme.baseDeep : root.choosable ? Theme.textPrimary : Theme.textSecondary
            font.pixelSize: Theme.bodySize
            maximumLineCount: 1
            elide: Text.ElideRight
        }

        HoverHandler {
            enabled: root.choosable
            cursorShape: Qt.PointingHandCursor
        }

        TapHandler {
            enabled: root.choosable
            gesturePolicy: TapHandler.ReleaseWithinBounds
            onTapped: root.choose()
        }
    }
}
