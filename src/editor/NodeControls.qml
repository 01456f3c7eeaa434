pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// What a node can be told from its header: its gain row, on or off, and to go. `kind` is "source" or "monitor".
Row {
    id: root

    required property string kind
    required property bool showGain
    required property real gain
    required property bool isEnabled

    signal gainToggled
    signal switched(on: bool)
    signal removed

    height: 22
    spacing: 4

    GainToggleButton {
        objectName: root.objectName + ".gainToggle"
        active: root.showGain
        boosted: root.gain !== CardFigures.unityGain
        onClicked: root.gainToggled()
    }

    OnOffSwitch {
        objectName: root.objectName + ".enabled"
        anchors.verticalCenter: parent.verticalCenter
        implicitWidth: 28
        implicitHeight: 17
        on: root.isEnabled
        help: (root.isEnabled ? "Disable " : "Enable ") + root.kind
        onSwitched: on => root.switched(on)
    }

    IconButton {
        objectName: root.objectName + ".remove"
        implicitWidth: 22
        implicitHeight: 22
        symbol: "trash"
        symbolSize: 13
        hoverColor: Theme.destructive
        help: "Remove " + root.kind
        onClicked: root.removed()
    }
}
