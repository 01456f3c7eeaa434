pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// The virtual device's output channels: sources come in at the left, monitors go out at the right.
NodeCard {
    id: root

    required property int deviceChannels
    required property var peaks
    /// The channels on which a source wire ends, and those at which a monitor wire starts.
    required property var connectedInputs
    required property var connectedOutputs
    required property GraphEditor editor
    required property GraphLayoutModel layoutModel

    property bool showMaster: false

    signal dragChanged(port: portID, at: point)
    signal dragEnded(port: portID, at: point)
    signal dragCancelled(port: portID)
    signal portActivated(port: portID)

    objectName: "output"

    component ChannelPort: PortView {
        layoutModel: root.layoutModel
        interactive: true
        onDragChanged: (port, at) => root.dragChanged(port, at)
        onDragEnded: (port, at) => root.dragEnded(port, at)
        onDragCancelled: port => root.dragCancelled(port)
        onActivated: port => root.portActivated(port)
    }

    header: NodeHeader {
        objectName: root.objectName
        symbol: "cable.connector"
        name: "Channels"

        GainToggleButton {
            objectName: root.objectName + ".gainToggle"
            active: root.showMaster
            boosted: root.editor.masterGain !== CardFigures.unityGain
            onClicked: root.showMaster = !root.showMaster
        }
    }

    Text {
        objectName: root.objectName + ".master"
        visible: root.showMaster
        topPadding: 2
        text: "MASTER"
        color: Theme.textSecondary
        font.pixelSize: 9
        font.letterSpacing: 1
    }

    GainRow {
        objectName: root.objectName + ".gain"
        visible: root.showMaster
        icon: "speaker.wave.2.fill"
        gain: root.editor.masterGain
        name: "Master volume"
        onEdited: gain => root.editor.setMasterGain(gain)
    }

    Repeater {
        model: ChannelRows {
            count: root.deviceChannels
        }

        delegate: ChannelRow {
            id: row

            required property int channel

            objectName: root.objectName + ".channel." + channel
            level: root.peaks[channel] ?? 0
            inputPort: ChannelPort {
                objectName: row.objectName + ".in"
                port: Ports.outputIn(row.channel)
                isConnected: root.connectedInputs.includes(row.channel)
                name: "Output channel " + row.label + " input"
            }
            outputPort: ChannelPort {
                objectName: row.objectName + ".out"
                port: Ports.outputOut(row.channel)
                isConnected: root.connectedOutputs.includes(row.channel)
                name: "Output channel " + row.label + " output"
            }
        }
    }
}
