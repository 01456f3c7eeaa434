pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Editor

/// One virtual device: its header and its graph. Made anew for every device, so that what is being edited, and the
/// selected wire, belong to the device that is shown.
Item {
    id: root

    required property AppState appState
    required property string deviceUID
    /// How much of the header's right end belongs to the window's own controls.
    property real controlsWidth: 0

    property alias selectedWire: canvas.selectedWire
    readonly property alias isEditingName: header.isEditingName

    /// The selection that is none.
    property wireSelection noWire

    function deleteSelectedWire() {
        canvas.deleteWire(selectedWire);
        selectedWire = noWire;
    }

    objectName: "detail." + deviceUID

    VirtualDeviceRecord {
        id: record

        appState: root.appState
        uid: root.deviceUID
    }

    GraphEditor {
        id: graphEditor

        appState: root.appState
        deviceUID: root.deviceUID
    }

    // Before the canvas, as it stands above it: the focus goes this way.
    DeviceHeader {
        id: header

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        device: record
        controlsWidth: root.controlsWidth
        hasSelectedWire: root.selectedWire.exists
        onRenamed: name => root.appState.renameVirtualDevice(root.deviceUID, name)
        onSettingsAsked: root.appState.settingsSheetUID = root.deviceUID
        onWireDeleted: root.deleteSelectedWire()
    }

    GraphCanvasView {
        id: canvas

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
        anchors.bottom: parent.bottom
        editor: graphEditor
    }
}
