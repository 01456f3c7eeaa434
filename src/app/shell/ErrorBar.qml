pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// The line of trouble at the window's lower edge; takes no room while there is none.
Rectangle {
    id: root

    required property string message

    signal dismissed

    objectName: "errorBar"
    height: visible ? Math.max(label.implicitHeight, button.implicitHeight) + 18 : 0
    visible: message !== ""
    color: Theme.headerBand

    Accessible.role: Accessible.AlertMessage
    Accessible.name: message

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        height: 2
        color: Theme.selection
    }

    Text {
        id: label

        objectName: "errorBar.message"
        anchors.left: parent.left
        anchors.right: button.left
        anchors.leftMargin: 20
        anchors.rightMargin: 16
        anchors.verticalCenter: parent.verticalCenter
        text: root.message
        textFormat: Text.PlainText
        color: Theme.textPrimary
        font.pixelSize: Theme.bodySize
        wrapMode: Text.Wrap
        maximumLineCount: 3
        elide: Text.ElideRight
    }

    PushButton {
        id: button

        objectName: "errorBar.dismiss"
        anchors.right: parent.right
        anchors.rightMargin: 14
        anchors.verticalCenter: parent.verticalCenter
        text: "Dismiss"
        onClicked: root.dismissed()
    }
}
