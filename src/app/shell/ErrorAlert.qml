pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The one line of trouble, for as long as it has not been read.
Sheet {
    id: root

    required property string message

    objectName: "errorAlert"
    title: heading.text
    // Above every other sheet.
    z: 1
    visible: message !== ""
    initialFocus: button

    Column {
        spacing: 14

        Icon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "exclamationmark.triangle.fill"
            size: 40
            color: Theme.selection
        }

        Text {
            id: heading

            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "errorAlert.title"
            text: "Error"
            color: Theme.textPrimary
            font.pixelSize: Theme.title3Size
            font.weight: Font.Bold
        }

        Text {
            objectName: "errorAlert.message"
            width: 320
            text: root.message
            textFormat: Text.PlainText
            color: Theme.textPrimary
            font.pixelSize: Theme.bodySize
            horizontalAlignment: Text.AlignHCenter
            wrapMode: Text.Wrap
            maximumLineCount: 16
            elide: Text.ElideRight
            Accessible.role: Accessible.AlertMessage
            Accessible.name: text
        }

        PushButton {
            id: button

            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "errorAlert.dismiss"
            width: 320
            prominent: true
            text: "OK"
            onClicked: root.close()
        }
    }
}
