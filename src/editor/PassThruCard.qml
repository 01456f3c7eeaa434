pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor

/// What applications play into the virtual device itself. Its ports are drawn and take no drags.
NodeCard {
    id: root

    required property int deviceChannels
    required property var peaks
    required property GraphLayoutModel layoutModel

    objectName: "passThru"

    header: NodeHeader {
        objectName: root.objectName
        symbol: "waveform"
        name: "Pass-Thru"
        lit: root.peaks.some(peak => peak > 0)
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
            outputPort: PortView {
                objectName: row.objectName + ".port"
                port: Ports.passThruOut(row.channel)
                layoutModel: root.layoutModel
                isConnected: true
                interactive: false
                name: "Pass-Thru channel " + row.label
            }
        }
    }
}
