pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// A port of a card. Points are in the coordinates of the canvas' content.
Item {
    id: root

    required property portID port
    required property GraphLayoutModel layoutModel
    required property bool isConnected
    required property bool interactive
    /// Says which port this is.
    required property string name

    readonly property string help: interactive ? "Drag to connect" : ""

    signal dragChanged(port: portID, at: point)
    signal dragEnded(port: portID, at: point)
    /// The drag was taken away before its end.
    signal dragCancelled(port: portID)
    /// Enter was pressed: the start or the end of a wire, for the keyboard.
    signal activated(port: portID)

    implicitWidth: 13
    implicitHeight: 13
    activeFocusOnTab: interactive

    Accessible.role: interactive ? Accessible.Button : Accessible.Indicator
    Accessible.name: name
    Accessible.description: isConnected ? "Connected" : "Not connected"
    Accessible.focusable: interactive
    Accessible.onPressAction: if (interactive) activated(port)

    Keys.onReturnPressed: activated(port)
    Keys.onEnterPressed: activated(port)
    Keys.onSpacePressed: activated(port)

    PortAnchor {
        anchors.fill: parent
        port: root.port
        layout: root.layoutModel
    }

    Rectangle {
        anchors.centerIn: parent
        width: 21
        height: 21
        radius: width / 2
        visible: pointer.containsMouse || pointer.dragging || root.activeFocus
        color: "transparent"
        border.width: 2
        border.color: root.activeFocus ? Theme.activity : Theme.accent
        opacity: root.activeFocus || pointer.dragging ? 1 : 0.6
    }

    PortDot {
        anchors.centerIn: parent
        connected: root.isConnected
        light: Theme.activity
        rim: Theme.accent
        ground: Theme.panel
        outline: Qt.rgba(Theme.textSecondary.r, Theme.textSecondary.g, Theme.textSecondary.b, 0.7)
    }

    MouseArea {
        id: pointer

        property point start
        property bool dragging: false

        function place(mouse: MouseEvent): point {
            return mapToItem(root.layoutModel.space, mouse.x, mouse.y);
        }

        anchors.fill: parent
        anchors.margins: -5
        enabled: root.interactive
        hoverEnabled: true
        preventStealing: true
        cursorShape: root.interactive ? Qt.CrossCursor : Qt.ArrowCursor

        onPressed: mouse => start = place(mouse)
        onPositionChanged: mouse => {
            if (!pressed)
                return;
            const at = place(mouse);
            if (!dragging && Math.hypot(at.x - start.x, at.y - start.y) < 2)
                return;
            dragging = true;
            root.dragChanged(root.port, at);
        }
        onReleased: mouse => {
            if (!dragging)
                return;
            dragging = false;
            root.dragEnded(root.port, place(mouse));
        }
        onCanceled: {
            if (!dragging)
                return;
            dragging = false;
            root.dragCancelled(root.port);
        }

        HelpTip {
            text: root.help
            hovered: pointer.containsMouse && !pointer.pressed
        }
    }
}
