pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// A level, as linear peak amplitude: a capsule that fills from the leading edge and warns near full scale.
Item {
    id: root

    required property real level
    readonly property bool hot: CardFigures.isHot(level)
    // What assistive technology reads.
    readonly property real value: Math.min(Math.max(level, 0), 1)
    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    /// How much of the bar is filled: follows the value within a tenth of a second.
    property real filled: 0

    implicitHeight: 6

    onValueChanged: {
        follow.to = value;
        follow.restart();
    }
    Component.onCompleted: filled = value

    Accessible.role: Accessible.ProgressBar
    Accessible.name: "Level"

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.meterTrack
    }

    Rectangle {
        objectName: root.objectName + ".fill"
        width: root.width * root.filled
        height: root.height
        visible: width > 0
        radius: height / 2

        gradient: Gradient {
            orientation: Gradient.Horizontal

            GradientStop {
                position: 0
                color: root.hot ? Theme.hot : Theme.accent
            }

            GradientStop {
                position: 1
                color: root.hot ? Theme.hot : Theme.activity
            }
        }
    }

    // Of a property without a Behavior, which Qt 6.4 does not survive on a bar that goes while it moves.
    NumberAnimation {
        id: follow

        target: root
        property: "filled"
        duration: 100
    }
}
