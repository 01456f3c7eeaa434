pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Editor
import Brindlemux.Theme

/// A small slider of a linear gain, with a mark at unity. Arrow keys move it by a percent, Page Up and Down by ten, Home
/// and End to its ends; a double click returns to unity. While it is held it follows the hand alone.
T.Slider {
    id: root

    required property real gain
    // What assistive technology reads.
    readonly property real minimumValue: from
    readonly property real maximumValue: to

    signal edited(gain: real)

    from: 0
    to: CardFigures.maximumGain
    stepSize: 0.01
    snapMode: T.Slider.NoSnap
    wheelEnabled: false
    hoverEnabled: true
    focusPolicy: Qt.TabFocus | Qt.ClickFocus
    implicitHeight: 18
    implicitWidth: 80
    padding: 0

    Accessible.role: Accessible.Slider

    onMoved: edited(value)
    // Neither a hand nor a key, nor the gain itself, so that it is assistive technology.
    onValueChanged: {
        if (!pressed && value !== gain && gain >= from && gain <= to)
            edited(value);
    }
    Accessible.onIncreaseAction: edited(Math.min(value + stepSize, to))
    Accessible.onDecreaseAction: edited(Math.max(value - stepSize, from))

    // A key that is let go elsewhere would hold the slider for good.
    onActiveFocusChanged: {
        if (!activeFocus)
            pressed = false;
    }

    Keys.onPressed: event => {
        const steps = {
            [Qt.Key_PageUp]: 0.1,
            [Qt.Key_PageDown]: -0.1,
            [Qt.Key_Home]: -to,
            [Qt.Key_End]: to
        };
        if (!(event.key in steps))
            return;
        event.accepted = true;
        edited(Math.min(Math.max(value + steps[event.key], from), to));
    }

    Binding {
        target: root
        property: "value"
        value: root.gain
        when: !root.pressed
        restoreMode: Binding.RestoreNone
    }

    TapHandler {
        acceptedButtons: Qt.LeftButton
        gesturePolicy: TapHandler.DragThreshold
        onDoubleTapped: root.edited(CardFigures.unityGain)
    }

    HoverHandler {
        cursorShape: root.pressed ? Qt.ClosedHandCursor : Qt.PointingHandCursor
    }

    background: Item {
        Rectangle {
            x: root.leftPadding + root.handle.width / 2 + (root.availableWidth - root.handle.width) * CardFigures.unityGain / root.to - 0.5
            anchors.verticalCenter: parent.verticalCenter
            width: 1
            height: 10
            color: Theme.textSecondary
            opacity: 0.6
        }

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: parent.width
            height: 4
            radius: 2
            color: Theme.border
        }

        Rectangle {
            anchors.verticalCenter: parent.verticalCenter
            width: root.handle.x + root.handle.width / 2
            height: 4
            radius: 2
            color: Theme.accent
        }
    }

    handle: Rectangle {
        x: root.leftPadding + root.visualPosition * (root.availableWidth - width)
        y: Math.round((root.height - height) / 2)
        width: 13
        height: 13
        radius: width / 2
        color: root.pressed ? Theme.activity : root.hovered ? "white" : Qt.rgba(0.88, 0.9, 0.94, 1)
        border.width: root.visualFocus ? 2 : 0
        border.color: Theme.accent
    }
}
