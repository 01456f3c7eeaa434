pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A small switch that shows `on` and asks for the opposite; it moves when what it shows has changed.
T.Switch {
    id: root

    required property bool on
    required property string help

    signal switched(bool on)

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

        Behavior on color {
            ColorAnimation {
                duration: 120
            }
        }

        Rectangle {
            x: root.on ? parent.width - width - 2 : 2
            anchors.verticalCenter: parent.verticalCenter
            width: parent.height - 4
            height: width
            radius: width / 2
            color: root.on ? Theme.baseDeep : root.hovered ? Theme.textPrimary : Theme.textSecondary

            Behavior on x {
                NumberAnimation {
                    duration: 120
                    easing.type: Easing.OutCubic
                }
            }
        }
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
