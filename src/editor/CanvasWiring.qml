pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Editor

/// What the ports of a canvas report to, and what becomes of it.
Item {
    id: root

    required property AppState appState
    required property string deviceUID
    /// The item in whose coordinates ports and pointers are.
    required property Item space

    readonly property alias layout: layoutModel
    readonly property alias edits: wireEditor
    readonly property alias drag: wireDrag
    readonly property alias keys: wireKeys

    /// The pointer drags a wire; the keyboard does not.
    readonly property bool isPointing: wireDrag.active && !wireKeys.active

    signal pointerMoved(at: point)

    function moveDrag(port: portID, at: point) {
        wireKeys.cancel();
        wireDrag.portDragChanged(port, at);
        pointerMoved(at);
    }
    function endDrag(port: portID, at: point) {
        wireDrag.portDragEnded(port, at);
    }
    function cancelDrag(port: portID) {
        wireDrag.portDragCancelled(port);
    }
    function activate(port: portID) {
        wireKeys.begin(port);
    }

    GraphLayoutModel {
        id: layoutModel

        space: root.space
    }

    WireEditor {
        id: wireEditor

        appState: root.appState
        deviceUID: root.deviceUID
        layout: layoutModel
    }

    WireDrag {
        id: wireDrag

        editor: wireEditor
    }

    WireKeys {
        id: wireKeys

        drag: wireDrag
    }

    // Wherever the focus is while the pointer is down.
    Shortcut {
        sequence: "Escape"
        enabled: root.isPointing
        onActivated: wireDrag.cancel()
    }
}
