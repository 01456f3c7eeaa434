pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Theme

/// Shows how much of the canvas can be seen; not there while all of it can.
T.ScrollBar {
    id: root

    implicitWidth: implicitContentWidth + leftPadding + rightPadding
    implicitHeight: implicitContentHeight + topPadding + bottomPadding
    padding: 3
    minimumSize: 0.06
    visible: size < 1
    hoverEnabled: true

    contentItem: Rectangle {
        implicitWidth: 6
        implicitHeight: 6
        radius: 3
        color: Theme.textSecondary
        opacity: root.pressed ? 0.8 : root.hovered ? 0.6 : root.active ? 0.45 : 0.22
    }
}
