pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// The bubble of a help text.
T.ToolTip {
    id: root

    required property HelpTip help

    objectName: "helpTip"
    parent: help
    x: Math.round((help.width - width) / 2)
    y: help.height + 7
    margins: 6
    implicitWidth: Math.min(implicitContentWidth + leftPadding + rightPadding, 360)
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 9
    rightPadding: 9
    topPadding: 5
    bottomPadding: 5
    delay: 600
    text: help.text
    visible: help.hovered && help.text !== ""
    closePolicy: T.Popup.CloseOnPressOutside | T.Popup.CloseOnReleaseOutside

    contentItem: Text {
        text: root.text
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
