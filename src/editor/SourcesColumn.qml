pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// Where sound comes from: what applications play into the device itself, then the sources of its graph.
Column {
    id: root

    required property GraphEditor editor
    required property CanvasWiring wiring

    ColumnHeader {
        title: "Sources"

        AddSourceMenu {
            editor: root.editor
        }
    }

    PassThruCard {
        width: root.width
        deviceChannels: root.editor.deviceChannels
        peaks: root.editor.passThruPeaks
        layoutModel: root.wiring.layout
    }

    Repeater {
        id: cards

        model: root.editor.sources

        delegate: SourceNodeCard {
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
        objectName: "sources.empty"
        visible: cards.count === 0
        text: "No sources yet"
    }
}
