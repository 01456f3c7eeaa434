pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// A device's name, which a double click or the pencil turns into a field. Enter and the tick commit what was typed;
/// Escape drops it.
Item {
    id: root

    required property string name
    property bool isEditingName: false
    property alias editedName: field.text
    readonly property alias nameFieldFocused: field.activeFocus

    signal renamed(name: string)

    function startEditing() {
        editedName = name;
        isEditingName = true;
        field.forceActiveFocus();
        field.selectAll();
    }

    function commit() {
        if (!isEditingName)
            return;
        end();
        renamed(editedName);
    }

    function end() {
        const returns = field.activeFocus;
        isEditingName = false;
        field.focus = false;
        if (returns)
            pencil.forceActiveFocus();
    }

    implicitHeight: 30
    implicitWidth: isEditingName ? field.width + 6 + 26 : title.implicitWidth + 6 + 26

    NameText {
        id: title

        objectName: "detail.name"
        width: Math.min(implicitWidth, root.width - 32)
        height: parent.height
        verticalAlignment: Text.AlignVCenter
        visible: !root.isEditingName
        text: root.name
        help: "Double-click to rename"
        font.pixelSize: Theme.titleSize
        font.weight: Font.Bold
        Accessible.role: Accessible.Heading

        TapHandler {
            // What lies beneath, and might understand a double click too, does not get it.
            gesturePolicy: TapHandler.ReleaseWithinBounds
            onDoubleTapped: root.startEditing()
        }
    }

    IconButton {
        id: pencil

        objectName: "detail.rename"
        anchors.left: title.right
        anchors.leftMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        visible: !root.isEditingName
        symbol: "pencil"
        help: "Rename device"
        onClicked: root.startEditing()
    }

    TextInputField {
        id: field

        objectName: "detail.nameField"
        width: 300
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isEditingName
        placeholderText: "Device name"
        font.pixelSize: 16
        onAccepted: root.commit()
        Keys.onEscapePressed: root.end()
    }

    IconButton {
        objectName: "detail.saveName"
        anchors.left: field.right
        anchors.leftMargin: 6
        anchors.verticalCenter: parent.verticalCenter
        visible: root.isEditingName
        symbol: "checkmark.circle.fill"
        symbolColor: Theme.accent
        hoverColor: Theme.activity
        symbolSize: 18
        help: "Save name"
        onClicked: root.commit()
    }
}
