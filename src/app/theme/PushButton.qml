pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A button with a word or two on it, and a symbol before them when it has one. `prominent` is for the one action that
/// a view is about, `destructive` for what cannot be undone.
T.Button {
    id: root

    property bool prominent: false
    property bool destructive: false
    property string symbol: ""
    property string help: ""
    readonly property color restColor: destructive ? Theme.destructive : prominent ? Theme.accent : Theme.headerBand
    readonly property color letterColor: prominent || destructive ? Theme.baseDeep : Theme.textPrimary

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    leftPadding: 16
    rightPadding: 16
    topPadding: 7
    bottomPadding: 7
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    opacity: enabled ? 1 : 0.45

    Accessible.role: Accessible.Button
    Accessible.name: text
    Accessible.description: help
    Accessible.onPressAction: if (enabled) clicked()

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: PushButtonLabel {
        symbol: root.symbol
        text: root.text
        color: root.letterColor
    }

    background: Rectangle {
        radius: 7
        color: root.down ? Qt.darker(root.restColor, 1.15) : root.hovered && root.enabled ? Qt.lighter(root.restColor, 1.08) : root.restColor
        border.width: root.visualFocus ? 2 : root.prominent || root.destructive ? 0 : 1
        border.color: root.visualFocus ? Theme.activity : Theme.border
    }

    HoverHandler {
        id: hover

        cursorShape: root.enabled ? Qt.PointingHandCursor : Qt.ArrowCursor
    }

    HelpTip {
        text: root.help
        hovered: hover.hovered && !root.down
    }
}
