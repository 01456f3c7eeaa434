pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// Where the device's sound is heard.
Column {
    id: root

    required property GraphEditor editor
    required property CanvasWiring wiring

    ColumnHeader {
        title: "Monitors"

        AddMonitorMenu {
            editor: root.editor
        }
    }

    Repeater {
        id: cards

        model: root.editor.monitors

        delegate: MonitorNodeCard {
            width: root.width
            editor: root.editor
            layoutModel: root.wiring.layout
            onDragChanged: (port, at) => root.wiring.moveDrag(port, at)
            onDragEnded: (port, at) => root.wiring.endDrag(port, at)
            onDragCancelled: port => root.wiring.cancelDrag(port)
            onPortActivated: port => root.wiring.activate(port)
        }
    }

    EmptyColumnText {
        objectName: "monitors.empty"
        visible: cards.count === 0
        text: "No monitors yet"
    }
}
