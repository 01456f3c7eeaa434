pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Window
import Brindlemux.Editor
import Brindlemux.Theme

/// The graph of one virtual device: sources, output channels and monitors in three columns, and the wires between them.
FocusScope {
    id: root

    required property GraphEditor editor
    property wireSelection selectedWire

    function deleteWire(wire: wireSelection) {
        wiring.edits.deleteWire(wire);
        if (wiring.edits.isSame(selectedWire, wire))
            selectedWire = wiring.edits.none;
    }

    objectName: "canvas"
    clip: true

    Accessible.role: Accessible.Grouping
    Accessible.name: "Routing graph"

    Keys.onPressed: event => {
        if (event.key === Qt.Key_Delete || event.key === Qt.Key_Backspace) {
            event.accepted = root.selectedWire.exists;
            if (event.accepted)
                root.deleteWire(root.selectedWire);
        } else {
            event.accepted = wiring.keys.moveFocus(event.key, root.Window.activeFocusItem);
        }
    }

    CanvasWiring {
        id: wiring

        appState: root.editor.appState
        deviceUID: root.editor.deviceUID
        space: canvasSpace
    }

    Connections {
        target: root.editor

        function onDeviceUIDChanged() {
            root.selectedWire = wiring.edits.none;
        }
    }

    CanvasGeometry {
        id: geometry

        visibleWidth: root.width
        visibleHeight: root.height
        columnHeight: Math.max(sources.implicitHeight, output.implicitHeight, monitors.implicitHeight)
    }

    Rectangle {
        anchors.fill: parent

        gradient: Gradient {
            GradientStop {
                position: 0
                color: Theme.base
            }

            GradientStop {
                position: 1
                color: Theme.baseDeep
            }
        }
    }

    CanvasFlickable {
        id: flickable

        anchors.fill: parent
        contentWidth: geometry.contentWidth
        contentHeight: geometry.contentHeight
        wiring: wiring

        Item {
            id: canvasSpace

            objectName: "canvas.space"
            width: geometry.contentWidth
            height: geometry.contentHeight

            WiresLayer {
                objectName: "canvas.wires"
                anchors.fill: parent
                appState: root.editor.appState
                deviceUID: root.editor.deviceUID
                layout: wiring.layout
                drag: wiring.drag
                selectedWire: root.selectedWire
                viewport: Qt.rect(flickable.contentX, flickable.contentY, flickable.width, flickable.height)
                accent: Theme.accent
                activity: Theme.activity
                selection: Theme.selection
                secondary: Theme.textSecondary
            }

            WirePointer {
                edits: wiring.edits
                onHit: wire => root.selectedWire = wire
                onHitTwice: wire => root.deleteWire(wire)
            }

            SourcesColumn {
                id: sources

                x: geometry.padding
                y: geometry.padding
                width: geometry.sideWidth
                spacing: geometry.spacing
                editor: root.editor
                wiring: wiring
            }

            OutputColumn {
                id: output

                x: geometry.outputX
                y: geometry.padding
                width: geometry.outputWidth
                spacing: geometry.spacing
                editor: root.editor
                wiring: wiring
            }

            MonitorsColumn {
                id: monitors

                x: geometry.monitorsX
                y: geometry.padding
                width: geometry.sideWidth
                spacing: geometry.spacing
                editor: root.editor
                wiring: wiring
            }

            WireEnd {
                wiring: wiring
            }
        }
    }
}
