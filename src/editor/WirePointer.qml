pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// The pointer on wires. It is asked for the whole canvas, cards too: what their controls take for themselves does not
/// come here, and what they let through does.
Item {
    id: root

    required property WireEditor edits

    signal hit(wire: wireSelection)
    signal hitTwice(wire: wireSelection)

    anchors.fill: parent

    HoverHandler {
        id: hover

        readonly property bool isOnWire: hovered && root.edits.wireHit(point.position).exists

        parent: root.parent
        cursorShape: isOnWire ? Qt.PointingHandCursor : Qt.ArrowCursor
    }

    TapHandler {
        parent: root.parent
        onSingleTapped: eventPoint => {
            root.parent.forceActiveFocus(Qt.MouseFocusReason);
            root.hit(root.edits.wireHit(eventPoint.position));
        }
        onDoubleTapped: eventPoint => {
            const wire = root.edits.wireHit(eventPoint.position);
            if (wire.exists)
                root.hitTwice(wire);
        }
    }
}
