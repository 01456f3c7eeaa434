pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T

/// A field for one line of text.
T.TextField {
    id: root

    implicitWidth: 300
    implicitHeight: contentHeight + topPadding + bottomPadding
    leftPadding: 9
    rightPadding: 9
    topPadding: 5
    bottomPadding: 5
    color: Theme.textPrimary
    selectionColor: Theme.accent
    selectedTextColor: Theme.baseDeep
    placeholderTextColor: Theme.textSecondary
    font.pixelSize: Theme.bodySize
    verticalAlignment: Text.AlignVCenter
    selectByMouse: true

    Accessible.role: Accessible.EditableText
    Accessible.name: placeholderText

    background: Rectangle {
        radius: 7
        color: Theme.baseDeep
        border.width: root.activeFocus ? 2 : 1
        border.color: root.activeFocus ? Theme.accent : Theme.border
    }

    HoverHandler {
        cursorShape: Qt.IBeamCursor
    }

    Text {
        anchors.fill: parent
        leftPadding: root.leftPadding
        rightPadding: root.rightPadding
        verticalAlignment: Text.AlignVCenter
        text: root.placeholderText
        textFormat: Text.PlainText
        color: root.placeholderTextColor
        font: root.font
        elide: Text.ElideRight
        visible: root.text === "" && root.preeditText === ""
        Accessible.ignored: true
    }
}
