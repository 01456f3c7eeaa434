pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Opens and closes a card's gain row, and shows by its colour that the gain is not unity.
IconButton {
    id: root

    required property bool active
    required property bool boosted

    implicitWidth: 22
    implicitHeight: 22
    symbol: "slider.horizontal.3"
    symbolSize: 12
    symbolColor: active || boosted ? Theme.accent : Theme.textSecondary
    hoverColor: active || boosted ? Theme.activity : Theme.textPrimary
    help: "Volume"

    Accessible.checkable: true
    Accessible.checked: active

    background: Rectangle {
        radius: 6
        color: root.active ? Qt.rgba(Theme.accent.r, Theme.accent.g, Theme.accent.b, 0.16) : root.hovered ? Theme.hoverVeil : "transparent"
        border.width: root.visualFocus ? 2 : 0
        border.color: Theme.accent
    }
}
