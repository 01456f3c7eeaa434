pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A button with one word or two on it. `prominent` is for the one action that a view is about.
T.Button {
    id: root

    property bool prominent: false
    readonly property color restColor: prominent ? Theme.accent : Theme.headerBand

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 16
    rightPadding: 16
    topPadding: 7
    bottomPadding: 7
    hoverEnabled: true

    Accessible.role: Accessible.Button
    Accessible.name: text

    contentItem: Text {
        text: root.text
        font.pixelSize: Theme.bodySize
        font.weight: Font.Medium
        color: root.prominent ? Theme.baseDeep : Theme.textPrimary
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
    }

    background: Rectangle {
        radius: 7
        color: root.down ? Qt.darker(root.restColor, 1.15) : root.hovered ? Qt.lighter(root.restColor, 1.08) : root.restColor
        border.width: root.visualFocus ? 2 : root.prominent ? 0 : 1
        border.color: root.visualFocus ? Theme.activity : Theme.border
    }
}
