pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// The ring around the port where the wire in hand would end, in another colour where it would be disconnected; and,
/// for the keyboard, what has the focus while a wire is in hand.
Item {
    id: root

    required property CanvasWiring wiring

    /// What had the focus before.
    property Item origin: null
    readonly property PortView target: wiring.keys.targetView as PortView

    objectName: "canvas.wireEnd"
    x: wiring.drag.targetPoint.x
    y: wiring.drag.targetPoint.y
    visible: wiring.drag.hasTarget

    Accessible.role: Accessible.Button
    Accessible.focusable: true
    Accessible.name: target ? (wiring.drag.disconnects ? "Disconnect from " : "Connect to ") + target.name : ""

    Keys.onPressed: event => event.accepted = wiring.keys.press(event.key)
    onActiveFocusChanged: if (!activeFocus)
        wiring.keys.cancel()

    Connections {
        target: root.wiring.keys

        function onChanged() {
            if (root.wiring.keys.active && !root.origin) {
                root.origin = root.wiring.drag.fromView;
                root.forceActiveFocus(Qt.TabFocusReason);
            } else if (!root.wiring.keys.active && root.origin) {
                const origin = root.origin;
                root.origin = null;
                if (root.activeFocus)
                    origin.forceActiveFocus(Qt.TabFocusReason);
            }
        }
    }

    Rectangle {
        x: -width / 2
        y: -height / 2
        width: 25
        height: 25
        radius: width / 2
        color: Qt.rgba(border.color.r, border.color.g, border.color.b, 0.18)
        border.width: 2
        border.color: root.wiring.drag.disconnects ? Theme.selection : Theme.activity
    }
}
