pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The panel of a card and the line around it, one point wide, which fades from top to bottom. It lies on the panel, so
/// that its colours are the panel's with some of the border's.
Item {
    id: root

    readonly property int radius: 12
    readonly property color upper: Qt.tint(Theme.panel, Qt.rgba(Theme.border.r, Theme.border.g, Theme.border.b, 0.9))
    readonly property color lower: Qt.tint(Theme.panel, Qt.rgba(Theme.border.r, Theme.border.g, Theme.border.b, 0.45))

    // The corners have one colour each: without a graphics processor nothing else is rounded smoothly.
    Rectangle {
        width: root.width
        height: 2 * root.radius
        radius: root.radius
        color: root.upper
    }

    Rectangle {
        y: root.height - height
        width: root.width
        height: 2 * root.radius
        radius: root.radius
        color: root.lower
    }

    Rectangle {
        y: root.radius
        width: root.width
        height: root.height - 2 * root.radius

        gradient: Gradient {
            GradientStop {
                position: 0
                color: root.upper
            }

            GradientStop {
                position: 1
                color: root.lower
            }
        }
    }

    Rectangle {
        anchors.fill: parent
        anchors.margins: 1
        radius: root.radius - 1
        color: Theme.panel
    }
}
