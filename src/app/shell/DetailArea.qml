pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Editor

/// The room beside the sidebar: that the driver is missing, or the selected device, or that there is none.
Item {
    id: root

    required property AppState appState
    property real controlsWidth: 0

    objectName: "detailArea"

    DriverMissing {
        anchors.fill: parent
        visible: !root.appState.driverInstalled
        onCheckAgain: root.appState.reload()
    }

    SelectedDeviceView {
        id: selected

        anchors.fill: parent
        visible: root.appState.driverInstalled && hasDevice
        appState: root.appState
        controlsWidth: root.controlsWidth
    }

    EmptyState {
        anchors.fill: parent
        visible: root.appState.driverInstalled && !selected.hasDevice
        onCreateDevice: root.appState.createVirtualDevice()
    }
}
