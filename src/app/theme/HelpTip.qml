pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// The help text of the control that it lies in, shown while the pointer rests on it. Takes no pointer events, and
/// makes its popup only when it is first needed, since a canvas has hundreds of controls.
Item {
    id: root

    required property string text
    required property bool hovered

    anchors.fill: parent

    Loader {
        id: loader

        property bool wanted: false

        active: wanted
        sourceComponent: T.ToolTip {
            id: tip

            objectName: "helpTip"
            parent: root
            x: Math.round((root.width - width) / 2)
            y: root.height + 7
            margins: 6
            implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding, 360)
            implicitHeight: implicitContentHeight + topPadding + bottomPadding
            leftPadding: 9
            rightPadding: 9
            topPadding: 5
            bottomPadding: 5
            delay: 600
            text: root.text
            visible: root.hovered && root.text !== ""
            closePolicy: T.Popup.CloseOnPressOutside | T.Popup.CloseOnReleaseOutside

            contentItem: Text {
                text: tip.text
                textFormat: Text.PlainText
                color: Theme.textPrimary
                font.pixelSize: Theme.captionSize
                wrapMode: Text.Wrap
            }

            background: Rectangle {
                radius: 6
                color: Theme.headerBand
                border.width: 1
                border.color: Qt.lighter(Theme.border, 1.25)
            }
        }
    }

    onHoveredChanged: if (hovered) loader.wanted = true
}
