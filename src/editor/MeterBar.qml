pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// A level, as linear peak amplitude: a capsule that fills from the leading edge and warns near full scale.
Item {
    id: root

    required property real level
    readonly property bool hot: CardFigures.isHot(level)
    readonly property real value: Math.min(Math.max(level, 0), 1)
    readonly property real minimumValue: 0
    readonly property real maximumValue: 1
    readonly property color leading: hot ? Theme.hot : Theme.accent
    readonly property color trailing: hot ? Theme.hot : Theme.activity
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
    // Qt 6.4 tells nobody the value of a progress bar.
    Accessible.description: Math.round(100 * value) + "%"

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.meterTrack
    }

    // The ends have one colour each: without a graphics processor nothing else is rounded smoothly.
    Item {
        id: fill

        readonly property real end: Math.min(width, height)

        objectName: root.objectName + ".fill"
        width: root.width * root.filled
        height: root.height
        visible: width > 0

        Rectangle {
            width: fill.end
            height: fill.height
            radius: fill.end / 2
            color: root.leading
        }

        Rectangle {
            x: fill.width - width
            width: fill.end
            height: fill.height
            radius: fill.end / 2
            visible: fill.width > fill.height
            color: root.trailing
        }

        Rectangle {
            x: fill.height / 2
            width: fill.width - fill.height
            height: fill.height
            visible: fill.width > fill.height

            gradient: Gradient {
                orientation: Gradient.Horizontal

                GradientStop {
                    position: 0
                    color: root.leading
                }

                GradientStop {
                    position: 1
                    color: root.trailing
                }
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
