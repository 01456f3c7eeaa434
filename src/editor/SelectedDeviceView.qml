pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Editor

/// The detail of the selected device, or nothing. A device that stays selected keeps its view; another gets a view of
/// its own, even when the two follow on each other.
Item {
    id: root

    required property AppState appState
    property real controlsWidth: 0
    readonly property bool hasDevice: selected.exists
    readonly property string shownUID: selected.exists ? selected.uid : ""

    VirtualDeviceRecord {
        id: selected

        appState: root.appState
        uid: root.appState.selectedDeviceUID
    }

    Repeater {
        // Changes with the identifier alone, so that nothing else makes the view anew.
        model: root.shownUID === "" ? [] : [root.shownUID]

        delegate: DeviceDetailView {
            required property string modelData

            width: root.width
            height: root.height
            appState: root.appState
            controlsWidth: root.controlsWidth
            deviceUID: modelData
        }
    }
}
