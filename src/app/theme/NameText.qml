pragma ComponentBehavior: Bound

import QtQuick

/// A name that somebody gave, in one line: as it was typed, cut where there is no room, in full as a help text then.
Text {
    id: root

    /// What else the help text says.
    property string help: ""

    textFormat: Text.PlainText
    color: Theme.textPrimary
    font.pixelSize: Theme.bodySize
    elide: Text.ElideRight
    maximumLineCount: 1
    // From right to left or not, a name stands beside its symbol.
    horizontalAlignment: Text.AlignLeft

    Accessible.role: Accessible.StaticText
    Accessible.name: text

    HoverHandler {
        id: hover
    }

    HelpTip {
        text: !root.truncated ? root.help : root.help === "" ? root.text : root.text + "\n" + root.help
        hovered: hover.hovered
    }
}
