pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A small switch that shows `on` and asks for the opposite; it moves when what it shows has changed.
T.Switch {
    id: root

    required property bool on
    required property string help

    /// Where the knob is, from 0 to 1.
    property real knob: 0

    signal switched(on: bool)

    onOnChanged: {
        slide.to = on ? 1 : 0;
        slide.restart();
    }
    Component.onCompleted: {
        slide.stop();
        knob = on ? 1 : 0;
    }

    implicitWidth: 32
    implicitHeight: 20
    padding: 0
    hoverEnabled: true
    focusPolicy: Qt.TabFocus
    checked: on

    Accessible.role: Accessible.CheckBox
    Accessible.name: help
    Accessible.checkable: true
    Accessible.checked: on
    // Left alone, assistive technology would move the switch and tell nobody.
    Accessible.onToggleAction: switched(!on)
    Accessible.onPressAction: switched(!on)

    Keys.onReturnPressed: switched(!on)
    Keys.onEnterPressed: switched(!on)

    onToggled: {
        const wanted = checked;
        // A press moves the switch by itself; what it shows is for the controller to decide.
        checked = Qt.binding(() => root.on);
        switched(wanted);
    }

    indicator: Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: root.on ? Theme.accent : Theme.border
        opacity: root.enabled ? 1 : 0.4
        border.width: root.visualFocus ? 2 : 0
        border.color: Theme.textPrimary

        Rectangle {
            x: 2 + root.knob * (parent.width - width - 4)
            anchors.verticalCenter: parent.verticalCenter
            width: parent.height - 4
            height: width
            radius: width / 2
            color: root.on ? Theme.baseDeep : root.hovered ? Theme.textPrimary : Theme.textSecondary
        }
    }

    // Of a property without a Behavior, which Qt 6.4 does not survive on a switch that goes while it moves.
    NumberAnimation {
        id: slide

        target: root
        property: "knob"
        duration: 120
        easing.type: Easing.OutCubic
    }

    HoverHandler {
        id: hover

        cursorShape: Qt.PointingHandCursor
    }

    HelpTip {
        text: root.help
        hovered: hover.hovered && !root.down
    }
}
