pragma ComponentBehavior: Bound

import QtQuick
import QtQuick.Templates as T
import Brindlemux.Shell
import Brindlemux.Theme

/// One latency mode to choose. The model fills the first two properties.
T.RadioButton {
    id: root

    required property int index
    required property latencyModeRow modelData
    required property bool selected

    /// An arrow was pressed that leads this many rows down; up is below 0.
    signal moved(step: int)

    objectName: "settings.mode." + index
    implicitHeight: Math.max(texts.implicitHeight, symbol.implicitHeight) + 18
    hoverEnabled: true
    checked: selected
    // A press marks the row by itself; what it shows is for the controller to decide.
    onToggled: checked = Qt.binding(() => root.selected)

    Accessible.name: modelData.label
    Accessible.description: modelData.description + ", " + modelData.duration
    Accessible.onToggleAction: clicked()
    Accessible.onPressAction: clicked()
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()
    Keys.onUpPressed: moved(-1)
    Keys.onDownPressed: moved(1)

    background: Rectangle {
        radius: 8
        color: root.selected ? Theme.headerBand : root.hovered ? Theme.surface : "transparent"
        border.width: root.visualFocus ? 2 : 1
        border.color: root.visualFocus ? Theme.activity : root.selected ? Theme.accent : Theme.border
    }

    Item {
        anchors.fill: parent

        Icon {
            id: symbol

            objectName: root.objectName + ".symbol"
            anchors.left: parent.left
            anchors.leftMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            name: root.selected ? "largecircle.fill.circle" : "circle"
            size: 18
            color: root.selected ? Theme.accent : Theme.textSecondary
        }

        Column {
            id: texts

            anchors.left: symbol.right
            anchors.right: duration.left
            anchors.leftMargin: 12
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            spacing: 2

            Text {
                objectName: root.objectName + ".label"
                text: root.modelData.label
                color: Theme.textPrimary
                font.pixelSize: Theme.bodySize
                font.weight: Font.Medium
            }

            Text {
                objectName: root.objectName + ".description"
                width: parent.width
                text: root.modelData.description
                color: Theme.textSecondary
                font.pixelSize: Theme.captionSize
                elide: Text.ElideRight
            }
        }

        Text {
            id: duration

            objectName: root.objectName + ".duration"
            anchors.right: parent.right
            anchors.rightMargin: 12
            anchors.verticalCenter: parent.verticalCenter
            text: root.modelData.duration
            color: Theme.textSecondary
            font.pixelSize: Theme.bodySize
        }
    }
}
