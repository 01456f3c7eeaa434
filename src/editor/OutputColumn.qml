pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// The channels of the virtual device.
Column {
    id: root

    required property GraphEditor editor
    required property CanvasWiring wiring

    ColumnHeader {
        title: "Output Channels"

        ChannelPairButtons {
            editor: root.editor
        }
    }

    OutputChannelsCard {
        width: root.width
        deviceChannels: root.editor.deviceChannels
        peaks: root.editor.outputPeaks
        connectedInputs: root.editor.connectedInputs
        connectedOutputs: root.editor.connectedOutputs
        editor: root.editor
        layoutModel: root.wiring.layout
        onDragChanged: (port, at) => root.wiring.moveDrag(port, at)
        onDragEnded: (port, at) => root.wiring.endDrag(port, at)
        onDragCancelled: port => root.wiring.cancelDrag(port)
        onPortActivated: port => root.wiring.activate(port)
    }
}
