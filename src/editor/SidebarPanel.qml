pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Controller
import Brindlemux.Theme

/// The virtual devices, one row each; creates, selects and deletes them.
Rectangle {
    id: root

    required property AppState appState
    /// The device that awaits confirmation.
    property string deviceToDelete: ""
    /// What is above the list, where nothing is to be pressed.
    readonly property real headerHeight: list.y

    function askToDelete() {
        deviceToDelete = appState.selectedDeviceUID;
        if (doomed.exists)
            confirmation.open();
    }

    /// A name that is read from right to left turns itself round, and not the sentence that begins with it.
    function isolated(name: string): string {
        return /[\u0590-\u08ff\ufb1d-\ufdff\ufe70-\ufefc]/.test(name) ? "\u2068" + name + "\u2069" : name;
    }

    color: Theme.panel

    Text {
        id: header

        anchors.left: parent.left
        anchors.top: parent.top
        anchors.leftMargin: 20
        anchors.topMargin: 22
        text: "VIRTUAL DEVICES"
        color: Theme.textSecondary
        font.pixelSize: Theme.captionSize
        font.weight: Font.DemiBold
        font.letterSpacing: 0.8
        Accessible.role: Accessible.Heading
        Accessible.name: text
    }

    Text {
        objectName: "sidebar.empty"
        anchors.left: header.left
        anchors.top: header.bottom
        anchors.topMargin: 14
        visible: list.count === 0
        text: "No virtual devices"
        color: Theme.textSecondary
        font.pixelSize: Theme.bodySize
    }

    ListView {
        id: list

        function select(row: int) {
            const chosen = itemAtIndex(row) as DeviceRow;
            if (chosen)
                root.appState.selectedDeviceUID = chosen.uid;
        }
        /// The selected row is the current one, wherever a change of the list has put it.
        function followSelection() {
            for (let row = 0; row < count; ++row) {
                if ((itemAtIndex(row) as DeviceRow)?.selected)
                    currentIndex = row;
            }
        }

        objectName: "sidebar.devices"
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: header.bottom
        anchors.bottom: footer.top
        anchors.topMargin: 12
        anchors.leftMargin: 10
        anchors.rightMargin: 10
        anchors.bottomMargin: 8
        clip: true
        spacing: 4
        activeFocusOnTab: true
        keyNavigationEnabled: false
        boundsBehavior: Flickable.StopAtBounds
        model: root.appState.virtualDevices

        Accessible.role: Accessible.List
        Accessible.name: "Virtual devices"

        delegate: DeviceRow {
            width: ListView.view.width
            appState: root.appState
            onChosen: root.appState.selectedDeviceUID = uid
            onSelectedChanged: if (selected) list.currentIndex = index
            onIndexChanged: later.restart()
            Component.onCompleted: later.restart()
        }

        // A list that is told its current row while rows come and go loses count of them.
        Timer {
            id: later

            interval: 0
            onTriggered: list.followSelection()
        }

        Keys.onUpPressed: select(currentIndex - 1)
        Keys.onDownPressed: select(currentIndex + 1)
        Keys.onDeletePressed: root.askToDelete()
    }

    Item {
        id: footer

        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        anchors.margins: 12
        height: create.height

        PushButton {
            id: create

            objectName: "sidebar.create"
            anchors.left: parent.left
            anchors.right: remove.left
            anchors.rightMargin: 8
            symbol: "plus"
            text: "New Virtual Device"
            enabled: root.appState.driverInstalled
            onClicked: root.appState.createVirtualDevice()
        }

        IconButton {
            id: remove

            objectName: "sidebar.delete"
            anchors.right: parent.right
            anchors.verticalCenter: parent.verticalCenter
            symbol: "minus"
            help: "Delete selected device"
            enabled: selected.exists
            onClicked: root.askToDelete()
        }
    }

    VirtualDeviceRecord {
        id: selected

        appState: root.appState
        uid: root.appState.selectedDeviceUID
    }

    VirtualDeviceRecord {
        id: doomed

        appState: root.appState
        uid: root.deviceToDelete
        // A device that goes by itself takes the question with it.
        onChanged: if (!exists) confirmation.close()
    }

    ConfirmationDialog {
        id: confirmation

        objectName: "confirmDelete"
        title: "Delete device?"
        message: "“" + root.isolated(doomed.name) + "” will disappear from the system. Its routing graph will be deleted."
        destructiveText: "Delete"
        onConfirmed: root.appState.deleteVirtualDevice(doomed.uid)
        onClosed: root.deviceToDelete = ""
    }
}
