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
        onDragChanged: (port, at) => root.wiring.dragChanged(port, at)
        onDragEnded: (port, at) => root.wiring.dragEnded(port, at)
        onDragCancelled: port => root.wiring.dragCancelled(port)
        onPortActivated: port => root.wiring.activated(port)
    }
}
