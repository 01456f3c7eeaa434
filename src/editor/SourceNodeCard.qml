pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// A source of the graph. The model's roles fill the first properties.
NodeCard {
    id: root

    required property string nodeID
    required property string name
    required property string symbol
    required property string subtitle
    required property bool isActive
    required property bool isEnabled
    required property real gain
    required property int channels
    required property var peaks
    required property var connectedChannels
    required property GraphEditor editor
    required property GraphLayoutModel layoutModel

    property bool showGain: false

    signal dragChanged(port: portID, at: point)
    signal dragEnded(port: portID, at: point)
    signal dragCancelled(port: portID)
    signal portActivated(port: portID)

    objectName: "source." + nodeID

    Accessible.role: Accessible.Grouping
    Accessible.name: name
    Accessible.description: subtitle

    header: NodeHeader {
        objectName: root.objectName
        symbol: root.symbol
        name: root.name
        subtitle: root.subtitle
        lit: root.isActive && root.isEnabled

        NodeControls {
            objectName: root.objectName
            kind: "source"
            showGain: root.showGain
            gain: root.gain
            isEnabled: root.isEnabled
            onGainToggled: root.showGain = !root.showGain
            onSwitched: on => root.editor.setSourceEnabled(root.nodeID, on)
            onRemoved: root.editor.removeSource(root.nodeID)
        }
    }

    GainRow {
        objectName: root.objectName + ".gain"
        visible: root.showGain
        icon: "speaker.wave.2.fill"
        gain: root.gain
        name: "Volume of " + root.name
        onEdited: gain => root.editor.setSourceGain(root.nodeID, gain)
    }

    Repeater {
        model: ChannelRows {
            count: root.channels
        }

        delegate: ChannelRow {
            id: row

            required property int channel

            objectName: root.objectName + ".channel." + channel
            level: root.peaks[channel] ?? 0
            outputPort: PortView {
                objectName: row.objectName + ".port"
                port: Ports.sourceOut(root.nodeID, row.channel)
                layoutModel: root.layoutModel
                isConnected: root.connectedChannels.includes(row.channel)
                interactive: true
                name: root.name + " channel " + row.label
                onDragChanged: (port, at) => root.dragChanged(port, at)
                onDragEnded: (port, at) => root.dragEnded(port, at)
                onDragCancelled: port => root.dragCancelled(port)
                onActivated: port => root.portActivated(port)
            }
        }
    }
}
