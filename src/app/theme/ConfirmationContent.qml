pragma ComponentBehavior: Bound

import QtQuick

/// The words and the buttons of a confirmation.
FocusScope {
    id: root

    required property string title
    required property string message
    required property string destructiveText

    signal cancelled
    signal confirmed

    implicitHeight: column.implicitHeight
    focus: true

    Column {
        id: column

        width: parent.width
        spacing: 8

        Text {
            objectName: "confirmation.title"
            width: parent.width
            text: root.title
            textFormat: Text.PlainText
            color: Theme.textPrimary
            font.pixelSize: Theme.title3Size
            font.weight: Font.DemiBold
        }

        Text {
            objectName: "confirmation.message"
            width: parent.width
            bottomPadding: 12
            text: root.message
            textFormat: Text.PlainText
            color: Theme.textSecondary
            font.pixelSize: Theme.bodySize
            wrapMode: Text.Wrap
            maximumLineCount: 6
            elide: Text.ElideRight
        }

        Row {
            anchors.right: parent.right
            spacing: 10

            PushButton {
                objectName: "confirmation.cancel"
                text: "Cancel"
                focus: true
                onClicked: root.cancelled()
            }

            PushButton {
                objectName: "confirmation.confirm"
                text: root.destructiveText
                destructive: true
                onClicked: root.confirmed()
            }
        }
    }
}
