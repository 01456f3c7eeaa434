pragma ComponentBehavior: Bound

import QtQuick
import Brindlemux.Theme

/// Stands in place of everything else while the driver is not there.
Item {
    id: root

    signal checkAgain

    objectName: "driverMissing"

    Column {
        anchors.centerIn: parent
        spacing: 14

        Icon {
            objectName: "driverMissing.symbol"
            anchors.horizontalCenter: parent.horizontalCenter
            name: "exclamationmark.triangle.fill"
            size: Theme.largeTitleSize
            color: Theme.selection
        }

        Text {
            anchors.horizontalCenter: parent.horizontalCenter
            objectName: "driverMissing.title"
            text: "Driver Not Installed"
            color: Theme.textPrimary
            font.pixelSize: Theme.title3Size
            font.weight: Font.Bold
            Accessible.role: Accessible.Heading
            Accessible.name: text
        }

        TextEdit {
            objectName: "driverMissing.command"
            anchors.horizontalCenter: parent.horizontalCenter
            readOnly: true
            selectByMouse: true
            text: "./scripts/build-driver.sh && sudo ./scripts/install-driver.sh"
            color: Theme.textSecondary
            selectionColor: Theme.accent
            selectedTextColor: Theme.baseDeep
            font.family: Theme.monospaceFamily
            font.pixelSize: Theme.calloutSize
            Accessible.role: Accessible.StaticText
            Accessible.name: text
        }

        PushButton {
            objectName: "driverMissing.checkAgain"
            anchors.horizontalCenter: parent.horizontalCenter
            prominent: true
            text: "Check Again"
            onClicked: root.checkAgain()
        }
    }
}
