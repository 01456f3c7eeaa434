pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Editor
import Brindlemux.Theme

/// Takes a pair of output channels from the virtual device, or gives it another.
Row {
    id: root

    required property GraphEditor editor

    spacing: 2

    IconButton {
        objectName: "output.removePair"
        symbol: "minus.circle.fill"
        help: "Remove channel pair"
        enabled: root.editor.canRemoveChannelPair
        onClicked: root.editor.removeChannelPair()
    }

    IconButton {
        objectName: "output.addPair"
        symbol: "plus.circle.fill"
        help: "Add channel pair"
        enabled: root.editor.canAddChannelPair
        onClicked: root.editor.addChannelPair()
    }
}
