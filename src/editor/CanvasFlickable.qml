pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import QtQuick.Templates as T

/// Scrolls the canvas: by hand, to the control that gets the focus, and under a wire that is dragged to an edge.
Flickable {
    id: root

    required property CanvasWiring wiring

    /// Where the pointer is in what can be seen, while it drags a wire.
    property point pointer

    // Points from the edge where scrolling begins, and per frame at the edge itself.
    readonly property real edge: 32
    readonly property real stride: 9

    readonly property Item focused: wiring.keys.targetView ?? Window.activeFocusItem

    function speed(place: real, size: real): real {
        const beyond = place < edge ? place - edge : Math.max(place - (size - edge), 0);
        return stride * Math.max(-1, Math.min(beyond / edge, 1));
    }
    function within(value: real, size: real, visibleSize: real): real {
        return Math.max(0, Math.min(value, size - visibleSize));
    }
    function reveal(item: Item) {
        const margin = 24;
        const place = item.mapToItem(contentItem, 0, 0, item.width, item.height);
        const isInSight = place.x >= contentX && place.x + place.width <= contentX + width && place.y >= contentY && place.y + place.height <= contentY + height;
        if (isInSight)
            return;
        const x = Math.max(place.x + place.width + margin - width, Math.min(contentX, place.x - margin));
        const y = Math.max(place.y + place.height + margin - height, Math.min(contentY, place.y - margin));
        contentX = Math.round(within(x, contentWidth, width));
        contentY = Math.round(within(y, contentHeight, height));
    }
    function carryWire() {
        if (wiring.isPointing)
            wiring.drag.portDragChanged(wiring.drag.from, Qt.point(pointer.x + contentX, pointer.y + contentY));
    }

    objectName: "canvas.flickable"
    boundsBehavior: Flickable.StopAtBounds
    pixelAligned: true
    onContentXChanged: carryWire()
    onContentYChanged: carryWire()
    onFocusedChanged: {
        // What is pressed is under the pointer and stays there.
        if ((focused as T.Control)?.focusReason === Qt.MouseFocusReason)
            return;
        // The canvas itself may have the focus; only what lies on it is brought into sight.
        for (let item = focused?.parent; item; item = item.parent) {
            if (item === wiring.space)
                reveal(focused);
        }
    }

    T.ScrollBar.vertical: CanvasScrollBar {}
    T.ScrollBar.horizontal: CanvasScrollBar {}

    Connections {
        target: root.wiring

        function onPointerMoved(at: point) {
            root.pointer = Qt.point(at.x - root.contentX, at.y - root.contentY);
        }
    }

    Timer {
        readonly property real stepX: root.speed(root.pointer.x, root.width)
        readonly property real stepY: root.speed(root.pointer.y, root.height)

        interval: 16
        repeat: true
        running: root.wiring.isPointing && (stepX !== 0 || stepY !== 0)
        onTriggered: {
            root.contentX = Math.round(root.within(root.contentX + stepX, root.contentWidth, root.width));
            root.contentY = Math.round(root.within(root.contentY + stepY, root.contentHeight, root.height));
        }
    }
}
