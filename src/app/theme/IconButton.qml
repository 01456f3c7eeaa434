pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Theme

/// A button with a symbol instead of words. Its help text is also its accessible name.
T.Button {
    id: root

    required property string symbol
    required property string help
    /// Keeps the help text away, for as long as something else is shown there.
    property bool helpHidden: false
    property real symbolSize: 15
    property color symbolColor: Theme.textSecondary
    property color hoverColor: Theme.textPrimary

    implicitWidth: 26
    implicitHeight: 26
    hoverEnabled: true
    focusPolicy: Qt.TabFocus

    Accessible.role: Accessible.Button
    Accessible.name: help
    Accessible.onPressAction: if (enabled) clicked()

    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        Icon {
            // On whole points, where its lines are sharp.
            x: Math.round((parent.width - width) / 2)
            y: Math.round((parent.height - height) / 2)
            name: root.symbol
            size: root.symbolSize
            color: root.hovered && root.enabled ? root.hoverColor : root.symbolColor
            opacity: root.enabled ? 1 : 0.35
        }
    }

    background: Rectangle {
        radius: 6
        color: !root.enabled ? "transparent" : root.down ? Theme.pressVeil : root.hovered ? Theme.hoverVeil : "transparent"
        border.width: root.visualFocus ? 2 : 0
        border.color: Theme.accent
    }

    HoverHandler {
        id: hover

        cursorShape: root.enabled ? Qt.PointingHandCursor : Qt.ArrowCursor
    }

    HelpTip {
        text: root.help
        hovered: hover.hovered && !root.down && !root.helpHidden
    }
}
